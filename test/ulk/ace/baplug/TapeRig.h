#pragma once

#include "support/RealTimeGuard.h"
#include "support/TempDir.h"
#include "ulk/ace/baplug/Tape.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/CritSec.h"

#include <bit>
#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test {

using Floats = std::vector<float>;

// A sample on disk and in the cache, with what it holds.
struct TapeSample {
    int nbr_chn = 1;
    double freq = 44100;
    Floats data; // interleaved
    long cache_id = 0;

    long get_len() const { return static_cast<long>(data.size()) / nbr_chn; }
    float get(long frame, int chn) const {
        return frame >= 0 && frame < get_len()
                   ? data[static_cast<std::size_t>(frame * nbr_chn + chn)]
                   : 0;
    }
};

// What stands between the plug-in and the cache: notes the calls, may keep prefetches from it.
class CacheProbe : public ulk::sacc::SplCacheRtInterface {
public:
    struct Call {
        char op; // 'p' or 'g'
        long id;
        long long pos;
        long len;
        bool operator==(Call const&) const = default;
    };

    explicit CacheProbe(ulk::sacc::SplCache& cache)
        : _cache(cache) {
        call_list.reserve(1 << 16);
    }

    std::vector<Call> call_list;
    bool prefetch_flag = true; // let through
    int prefetch_ret = 0;
    int get_ret = 0;

protected:
    int do_prefetch_data(long id, ulk::archi::Int64 pos, long len) override {
        note('p', id, pos, len);
        return prefetch_ret != 0 || !prefetch_flag ? prefetch_ret
                                                   : _cache.prefetch_data(id, pos, len);
    }
    int do_get_data(long id, ulk::archi::Int64 pos, long len,
                    ulk::sacc::SplCacheIteratorRead& it) override {
        note('g', id, pos, len);
        return get_ret != 0 ? get_ret : _cache.get_data(id, pos, len, it);
    }
    int do_push_data(long, long, ulk::sacc::SplCacheIteratorWrite&) override { return -1; }

private:
    void note(char op, long id, long long pos, long len) {
        if (call_list.size() < call_list.capacity()) {
            call_list.push_back({op, id, pos, len});
        }
    }

    ulk::sacc::SplCache& _cache;
};

// Samples, their files and their cache.
class SampleStore {
public:
    explicit SampleStore(long cell_len = 1024, long nbr_cells = 256) {
        EXPECT_EQ(0, cache.set_memory(cell_len * nbr_cells, 0, cell_len));
    }
    ~SampleStore() {
        for (auto& [id, spl] : map) {
            EXPECT_EQ(0, cache.close_file(spl.cache_id));
        }
    }

    void add(long long id, TapeSample spl) {
        std::string const name = write_file(id, spl);
        ASSERT_EQ(0, cache.open_file(spl.cache_id, name.c_str(), false));
        map[id] = spl;
    }
    // A file that the cache does not know yet; its name.
    std::string write_file(long long id, TapeSample const& spl) const {
        std::string name = _dir.make_name("s" + std::to_string(id) + ".wav");
        save(name, spl);
        return name;
    }
    // Brings requested cells in.
    void load() {
        while (cache.do_run_slice()) {
        }
    }
    void load_range(long long id, long long pos, long len) {
        EXPECT_EQ(0, cache.prefetch_data(map[id].cache_id, pos, len));
        load();
    }

    ulk::sys::Mutex mutex_rt;
    ulk::sys::Mutex mutex_bkg;

private:
    static void append(std::string& bytes, unsigned long val, int nbr_bytes) {
        for (int b = 0; b < nbr_bytes; ++b) {
            bytes += static_cast<char>(val >> (8 * b));
        }
    }
    // WAV of 32-bit floats.
    static void save(std::string const& name, TapeSample const& spl) {
        unsigned long const nbr_bytes = spl.data.size() * 4;
        auto const chn = static_cast<unsigned long>(spl.nbr_chn);
        auto const freq = static_cast<unsigned long>(spl.freq);
        std::string bytes = "RIFF";
        append(bytes, nbr_bytes + 36, 4);
        bytes += "WAVEfmt ";
        append(bytes, 16, 4);
        append(bytes, 3, 2);
        append(bytes, chn, 2);
        append(bytes, freq, 4);
        append(bytes, freq * chn * 4, 4);
        append(bytes, chn * 4, 2);
        append(bytes, 32, 2);
        bytes += "data";
        append(bytes, nbr_bytes, 4);
        for (float const val : spl.data) {
            append(bytes, std::bit_cast<std::uint32_t>(val), 4);
        }
        std::ofstream(name, std::ios::binary) << bytes;
    }

    TempDir _dir;
    ulk::sys::Mutex _mutex_file;
    ulk::sacc::SplFileMgr _file_mgr{_mutex_file};

public:
    ulk::sacc::SplCache cache{mutex_rt, mutex_bkg, _file_mgr};
    CacheProbe probe{cache};
    std::map<long long, TapeSample> map;
};

// A host of one Tape, with its buffers.
class TapeRig {
public:
    using Dsp = kryn::PluginDsp;
    using Cmd = Dsp::CmdPlug;

    // instantiate: puts the plug-in on the point; the class itself when not given.
    explicit TapeRig(SampleStore& spl_store)
        : store(spl_store) {
        new ulk::ace::baplug::Tape(com); // DESTROY deletes it
    }
    template <class Instantiate>
    TapeRig(SampleStore& spl_store, Instantiate instantiate)
        : store(spl_store) {
        instantiate(com);
    }
    ~TapeRig() { EXPECT_EQ(0, send(kryn::Component::Cmd::DESTROY)); }
    TapeRig(TapeRig const&) = delete;
    TapeRig& operator=(TapeRig const&) = delete;

    int send(int cmd, void* data = nullptr) { return com.plugin_execute(&com, cmd, data); }

    // in_flag: as many inputs as outputs.
    int set_conf(std::vector<long> chn_list, bool in_flag) {
        Cmd::SetPinConf rec = {};
        auto const nbr = static_cast<long>(chn_list.size());
        rec.conf.audio.port_arr[0] = {nbr, in_flag ? nbr : 0, chn_list.data()};
        rec.conf.audio.port_arr[1] = {nbr, nbr, chn_list.data()};
        int const ret = send(Cmd::SET_PIN_CONF, &rec);
        if (ret == 0) {
            chn_arr = chn_list;
        }
        return ret;
    }
    int set_block_len(long len) {
        Cmd::SetProcessBlockLen rec = {0, len};
        block_len = len;
        return send(Cmd::SET_PROCESS_BLOCK_LEN, &rec);
    }
    int set_freq(double freq) {
        Cmd::SetSampleFreq rec = {freq};
        return send(Cmd::SET_SAMPLE_FREQ, &rec);
    }
    // The master at unity, without its fade-in.
    void init_settled() {
        EXPECT_EQ(0, send(kryn::Plugin::CmdPlug::INIT));
        EXPECT_EQ(0, send(Cmd::CLEAR_BUFFERS));
    }

    void param(long stamp, int note, int index, double val, long ramp_len = 0, double val_beg = 0) {
        Dsp::Event evt = {};
        evt.type = Dsp::EventType_PARAM;
        evt.timestamp = stamp;
        evt.param = {{kryn::ParamScope_NOTE, note, index}, ramp_len, val_beg, val};
        evt_list.push_back(evt);
    }
    void master(long stamp, int index, double val, long ramp_len = 0, double val_beg = 0) {
        param(stamp, 0, index, val, ramp_len, val_beg);
        evt_list.back().param.location.scope = kryn::ParamScope_GLOBAL;
    }
    void note(long stamp, int type, int id) {
        Dsp::Event evt = {};
        evt.type = type;
        evt.timestamp = stamp;
        evt.note_id = id;
        evt_list.push_back(evt);
    }

    // One block, as a real-time host runs it. Buffers of channels are out[pin][chn], 3 * nbr frames
    // with a margin behind; states by pin. Events are used up.
    int process(long nbr_spl) {
        std::vector<Dsp::Event const*> evt_ptr_list;
        for (Dsp::Event const& evt : evt_list) {
            evt_ptr_list.push_back(&evt);
        }
        std::vector<Dsp::PinData> pin_in(chn_arr.size());
        std::vector<Dsp::PinData> pin_out(chn_arr.size());
        std::vector<std::vector<float*>> ptr_list;
        state_in.resize(chn_arr.size());
        state.resize(chn_arr.size());
        prepare(in, nbr_spl);
        prepare(out, nbr_spl);
        for (std::size_t p = 0; p < chn_arr.size(); ++p) {
            for (auto* port : {&in, &out}) {
                auto& ptrs = ptr_list.emplace_back();
                for (Floats& chn : (*port)[p]) {
                    ptrs.push_back(chn.data());
                }
            }
        }
        for (std::size_t p = 0; p < chn_arr.size(); ++p) {
            pin_in[p] = {ptr_list[p * 2].data(), state_in[p]};
            pin_out[p] = {ptr_list[p * 2 + 1].data(), state[p]};
        }
        Cmd::Process rec = {{pin_in.data()}, {pin_out.data()}, {evt_ptr_list.data(), 0}, nbr_spl};
        rec.evt_list.nbr_evt = static_cast<long>(evt_ptr_list.size());
        int ret = 0;
        {
            ulk::sys::CritSec pass(store.mutex_rt);
            std::optional<RealTimeGuard> guard;
            if (guard_flag) {
                guard.emplace(RealTimeGuard::Locks_UNCONTENDED);
            }
            ret = send(Cmd::PROCESS, &rec);
        }
        for (std::size_t p = 0; p < chn_arr.size(); ++p) {
            state[p] = pin_out[p].state;
        }
        evt_list.clear();
        return ret;
    }

    SampleStore& store;
    ulk::pibase::BidirComPoint com = {&execute, nullptr, this, nullptr};
    std::vector<long> chn_arr = {2};
    long block_len = 0;
    std::vector<Dsp::Event> evt_list;
    std::vector<std::vector<Floats>> in;
    std::vector<std::vector<Floats>> out;
    std::vector<long> state_in;
    std::vector<long> state; // set before a block, read after it
    bool guard_flag = true;  // off where the test's own log function allocates
    int info_ret = 0;
    int cache_ret = 0;
    bool cache_flag = true;  // there is one
    long long asked_id = -1; // of the last sample asked for
    long long told_len = -1; // of every sample, instead of its own

private:
    void prepare(std::vector<std::vector<Floats>>& port, long nbr_spl) {
        port.resize(chn_arr.size());
        for (std::size_t p = 0; p < chn_arr.size(); ++p) {
            port[p].resize(static_cast<std::size_t>(chn_arr[p]));
            for (Floats& chn : port[p]) {
                chn.resize(static_cast<std::size_t>(nbr_spl) + 8, 77.0f);
            }
        }
    }

    static int execute(ulk::pibase::BidirComPoint* com, int cmd, void* data) {
        using namespace ulk::ace::baplug;
        auto& rig = *static_cast<TapeRig*>(com->host_data);
        if (cmd == CMD_VENDOR_USE_CACHE) {
            static_cast<UseCache*>(data)->cache_ptr = rig.cache_flag ? &rig.store.probe : nullptr;
            return rig.cache_ret;
        }
        if (cmd != CMD_VENDOR_GET_SAMPLE_INFO) {
            return -1;
        }
        auto& info = *static_cast<SampleInfo*>(data);
        rig.asked_id = info.sample_id;
        auto const it = rig.store.map.find(info.sample_id);
        if (it == rig.store.map.end()) {
            return -14498;
        }
        info.len = rig.told_len >= 0 ? rig.told_len : it->second.get_len();
        info.cache_id = it->second.cache_id;
        info.sample_freq = it->second.freq;
        info.nbr_chn = it->second.nbr_chn;
        return rig.info_ret;
    }
};

} // namespace test
