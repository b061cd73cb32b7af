// Commands in any order, legal or not, at the entry point, a factory and up to four instances: no
// crash, no code that the protocol does not know, nothing written beyond the room that was given.
// What the protocol puts into the host's charge is kept: pins and lengths of PROCESS are those last
// set, events lie in the block, and arrays have the length that is told.

#include "ulk/ace/baplug/entry_point.h"
#include "host/check/GuardedArray.h"
#include "host/check/PinArea.h"
#include "host/check/SampleHost.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplCacheRtInterface.h"
#include "ulk/txt/utf8/Err.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using ulk::host::HostInterface;
using ulk::host::check::GuardedArray;
using ulk::host::check::PinArea;
using ulk::host::check::SampleHost;
using ulk::pibase::BidirComPoint;
using Dsp = kryn::PluginDsp;
using Cmd = Dsp::CmdPlug;

class Bytes {
public:
    Bytes(std::uint8_t const* data, std::size_t size)
        : _pos(data)
        , _end(data + size) {}

    bool is_empty() const { return _pos == _end; }
    int take() { return is_empty() ? 0 : *_pos++; }
    long roll(long nbr) { return take() % nbr; }
    template <class T, std::size_t nbr>
    T pick(T const (&arr)[nbr]) {
        return arr[static_cast<std::size_t>(take()) % nbr];
    }
    std::string take_txt() {
        std::string txt;
        for (long len = roll(24); len > 0; --len) {
            txt += static_cast<char>(take());
        }
        return txt;
    }

private:
    std::uint8_t const* _pos;
    std::uint8_t const* _end;
};

void expect(bool ok_flag, char const* what) {
    if (!ok_flag) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

constexpr double val_arr[] = {0,   0.5,  1,    -1,     2,      0.25,     0.999, 1.0001,
                              -24, 24,   16,   1e-9,   1e-300, 65536,    3,     7,
                              1e9, -1e9, 1e30, -1e300, 2.8e14, INFINITY, -0.0,  NAN};

// A host whose cache never has anything.
class EmptyHost : public HostInterface, private ulk::sacc::SplCacheRtInterface {
public:
    explicit EmptyHost(SampleHost& samples)
        : _samples(samples) {}

protected:
    int do_execute(int cmd, void* data) override {
        int const ret = _samples.execute(cmd, data);
        if (cmd == ulk::ace::baplug::CMD_VENDOR_USE_CACHE) {
            static_cast<ulk::ace::baplug::UseCache*>(data)->cache_ptr = this;
        }
        return ret;
    }
    int do_prefetch_data(long, long long, long) override { return 0; }
    int do_get_data(long, long long pos, long len, ulk::sacc::SplCacheIteratorRead& it) override {
        it.clear(pos, len);
        return 0;
    }
    int do_push_data(long, long, ulk::sacc::SplCacheIteratorWrite&) override { return -1; }

private:
    SampleHost& _samples;
};

// By choice: one that lends nothing, one that has nothing, one that has all.
HostInterface* use_host(long choice) {
    static auto* const full = [] {
        auto* const host = new SampleHost;
        host->load_all();
        return host;
    }();
    static EmptyHost empty(*full);
    return choice == 0 ? nullptr : choice == 1 ? static_cast<HostInterface*>(&empty) : full;
}

// A text that is no UTF-8 is told by the code of the text library.
bool is_known(int cmd, int ret) {
    return ret == 0 || ulk::ace::Err_get_text(ret) != nullptr ||
           (cmd == Cmd::CONV_PARAM_FROM_STR && ret <= ulk::txt::utf8::Err_INVALID_FOLLOW_BYTE &&
            ret >= ulk::txt::utf8::Err_DEST_TOO_SMALL);
}

// A communication point with all that a host knows of who listens there.
class Instance {
public:
    explicit Instance(HostInterface* host)
        : _host(host) {}

    int send(int cmd, void* data = nullptr) {
        int const ret = com.plugin_execute(&com, cmd, data);
        expect(is_known(cmd, ret), "an unknown code came back");
        expect(com.host_execute == &execute_host && com.host_data == this,
               "the host's words of the point were changed");
        return ret;
    }
    bool is_alive() const { return com.plugin_data != nullptr; }
    void destroy() {
        if (is_alive()) {
            expect(send(kryn::Component::Cmd::DESTROY) == 0, "DESTROY failed");
        }
        com.plugin_execute = nullptr;
        com.plugin_data = nullptr;
        conf_flag = false;
        max_len = 0;
    }

    BidirComPoint com = {&execute_host, nullptr, this, nullptr};
    std::vector<long> chn_arr[2];
    bool conf_flag = false; // chn_arr is set
    bool freq_flag = false;
    long max_len = 0;

private:
    static int execute_host(BidirComPoint* point, int cmd, void* data) {
        HostInterface* const host = static_cast<Instance*>(point->host_data)->_host;
        return host != nullptr ? host->execute(cmd, data) : -1;
    }

    HostInterface* _host;
};

class Driver {
public:
    explicit Driver(Bytes& bytes)
        : _bytes(bytes) {
        HostInterface* const host = use_host(_bytes.roll(3));
        for (auto& slot : _instance_arr) {
            slot = std::make_unique<Instance>(host);
        }
    }
    ~Driver() {
        _factory.destroy();
        for (auto& slot : _instance_arr) {
            slot->destroy();
        }
    }

    void run_step() {
        int const op = _bytes.take();
        Instance& instance = *_instance_arr[op / 16 % 4];
        switch (op % 16) {
        case 0:
            run_entry();
            break;
        case 1:
            run_instantiate(instance);
            break;
        default:
            if (instance.is_alive()) {
                run_command(instance, op % 16);
            }
        }
    }

private:
    void run_entry();
    void run_instantiate(Instance& instance);
    void run_command(Instance& instance, int op);
    void run_plain(Instance& instance);
    void run_setup(Instance& instance);
    void run_describe(Instance& instance);
    void run_pins(Instance& instance, int cmd);
    void run_param(Instance& instance);
    void run_text(Instance& instance);
    void run_process(Instance& instance);
    kryn::ParamLocation take_location();
    void take_events(long nbr_spl);

    Bytes& _bytes;
    Instance _factory{nullptr};
    std::unique_ptr<Instance> _instance_arr[4];
    std::vector<Dsp::Event> _event_list;
    std::vector<Dsp::Event const*> _ptr_list;
};

void Driver::run_entry() {
    switch (_bytes.roll(8)) {
    case 0:
        expect(ulk::ace::baplug::ulk_entry_point(_bytes.pick({0, 3, -1, INT_MAX}), nullptr) == -1,
               "the entry point took an unknown command");
        break;
    case 1:
        _factory.destroy();
        break;
    case 2:
        if (_factory.is_alive()) {
            _factory.send(_bytes.pick({0x1101, 0x1103, 0x3110, 0, -1}));
        }
        break;
    case 3:
        if (_factory.is_alive()) {
            run_describe(_factory);
        }
        break;
    default:
        if (!_factory.is_alive()) {
            BidirComPoint* com = &_factory.com;
            expect(ulk::ace::baplug::ulk_entry_point(1, &com) == 0, "no factory");
        }
    }
}

void Driver::run_instantiate(Instance& instance) {
    static constexpr char const* id_arr[] = {
        "Brevanto#TessitoneAudioInput", "Brevanto#TessitoneAudioOutput",
        "Brevanto#TessitoneAudioTape",  "Brevanto#TessitoneBypass",
        "Brevanto#TessitoneDryWet",     "Brevanto#TessitoneAudioTape",
        "Brevanto#TessitoneDry",        nullptr};
    char const* const id = _bytes.pick(id_arr);
    if (!_factory.is_alive()) {
        BidirComPoint* com = &_factory.com;
        ulk::ace::baplug::ulk_entry_point(1, &com);
    }
    instance.destroy();
    bool const point_flag = _bytes.roll(16) != 0;
    kryn::PluginFactory::CmdFact::Instantiate rec = {id, point_flag ? &instance.com : nullptr};
    int const ret = _factory.send(kryn::PluginFactory::CmdFact::INSTANTIATE, &rec);
    expect((ret == 0) == instance.is_alive(), "INSTANTIATE and its point say different things");
}

void Driver::run_command(Instance& instance, int op) {
    switch (op) {
    case 2:
        instance.destroy();
        break;
    case 3:
        run_plain(instance);
        break;
    case 4:
        run_setup(instance);
        break;
    case 5:
        run_describe(instance);
        break;
    case 6:
        run_pins(instance, Cmd::GET_PIN_CONF);
        break;
    case 7:
        run_pins(instance, Cmd::NEGOTIATE_PIN_CONF);
        break;
    case 8:
        run_pins(instance, Cmd::SET_PIN_CONF);
        break;
    case 9:
        run_param(instance);
        break;
    case 10:
        run_text(instance);
        break;
    default:
        run_process(instance);
    }
}

// Commands without a record, known and unknown.
void Driver::run_plain(Instance& instance) {
    static constexpr int cmd_arr[] = {0x2101, 0x2102, 0x2103, 0x2104, 0x3101,     0x3102,
                                      0x3103, 0x3106, 0x310A, 0x3111, 0x3111,     0x1102,
                                      0x7777, 0,      -1,     0x3201, 0x10000000, INT_MAX};
    instance.send(_bytes.pick(cmd_arr));
}

void Driver::run_setup(Instance& instance) {
    if (_bytes.roll(2) == 0) {
        static constexpr double freq_arr[] = {44100, 48000, 8000, 192000, 1, 1e6};
        Cmd::SetSampleFreq rec = {_bytes.pick(freq_arr)};
        instance.send(Cmd::SET_SAMPLE_FREQ, &rec);
        instance.freq_flag = true;
        return;
    }
    static constexpr long len_arr[] = {0, 1, 3, 64, 100, 500, -1, 1L << 40, LONG_MAX};
    Cmd::SetProcessBlockLen rec = {0, _bytes.pick(len_arr)};
    int const ret = instance.send(Cmd::SET_PROCESS_BLOCK_LEN, &rec);
    instance.max_len = ret == 0 || ret == -1 ? std::clamp(rec.max_block_len, 0L, 500L) : 0;
}

void Driver::run_describe(Instance& instance) {
    int const len = static_cast<int>(_bytes.roll(256)) * 16;
    GuardedArray<unsigned char> area(len);
    kryn::Component::Cmd::Describe rec = {area.data(), len};
    int const ret = instance.send(kryn::Component::Cmd::DESCRIBE, &rec);
    expect(area.is_intact(), "DESCRIBE wrote beyond the room");
    expect(ret == 0 ? rec.len <= len : rec.len == len && area.is_untouched(),
           "DESCRIBE failed and wrote");
}

void Driver::run_pins(Instance& instance, int cmd) {
    Cmd::NegotiatePinConf rec = {};
    std::optional<GuardedArray<long>> area_arr[2];
    long nbr_pins = 0;
    for (int dir = 0; dir < 2; ++dir) {
        // Who asks has the same room on both sides: the tape looks at one of them alone.
        nbr_pins = dir == 0 || cmd != Cmd::GET_PIN_CONF ? _bytes.roll(20) - 1 : nbr_pins;
        // A proposal needs room for a pin.
        long const capacity = std::max(nbr_pins, cmd == Cmd::GET_PIN_CONF ? 0L : 2L);
        auto& area = area_arr[dir].emplace(capacity);
        for (long pin = 0; pin < nbr_pins; ++pin) {
            int const byte = _bytes.take();
            area.data()[pin] = byte < 200 ? byte % 3 : byte % 20 - 1;
        }
        rec.conf.audio.port_arr[dir] = {capacity, nbr_pins, area.data()};
    }
    rec.conf.nbr_pins_data_in = _bytes.roll(8) == 0;
    int const ret = instance.send(cmd, &rec);
    expect(area_arr[0]->is_intact() && area_arr[1]->is_intact(), "written beyond the pins");
    if (cmd == Cmd::NEGOTIATE_PIN_CONF) {
        expect(rec.result >= 0 && rec.result <= 2, "a negotiation without a result");
    }
    if (cmd != Cmd::SET_PIN_CONF) {
        return;
    }
    // A refused configuration has to be followed by one that is not.
    instance.conf_flag = ret == 0;
    for (int dir = 0; dir < 2 && ret == 0; ++dir) {
        long* const data = area_arr[dir]->data();
        instance.chn_arr[dir].assign(data,
                                     data + std::max(rec.conf.audio.port_arr[dir].nbr_pins, 0L));
    }
}

kryn::ParamLocation Driver::take_location() {
    int const byte = _bytes.take();
    int const scope = byte < 100 ? 0 : byte < 200 ? 5 : byte % 8;
    int const index = static_cast<int>(_bytes.roll(12)) - 1;
    return {static_cast<kryn::ParamScope>(scope), static_cast<int>(_bytes.roll(4)),
            index == 10 ? INT_MAX : index};
}

void Driver::run_param(Instance& instance) {
    kryn::ParamLocation const loc = take_location();
    int const choice = static_cast<int>(_bytes.roll(3));
    double const val = _bytes.pick(val_arr);
    if (choice == 0) {
        Cmd::GetParamVal rec = {loc, 0};
        instance.send(Cmd::GET_PARAM_VAL, &rec);
        return;
    }
    Cmd::ConvParamNorm rec = {val, val, loc};
    instance.send(choice == 1 ? Cmd::CONV_PARAM_NAT_TO_NORM : Cmd::CONV_PARAM_NORM_TO_NAT, &rec);
}

void Driver::run_text(Instance& instance) {
    kryn::ParamLocation const loc = take_location();
    if (_bytes.roll(2) == 0) {
        std::string const txt = _bytes.take_txt();
        Cmd::ConvParamFromStr rec = {loc, 0, txt.c_str()};
        instance.send(Cmd::CONV_PARAM_FROM_STR, &rec);
        return;
    }
    long const max_len = _bytes.roll(40);
    GuardedArray<char> area(max_len + 1);
    Cmd::ConvParamToStr rec = {loc, _bytes.pick(val_arr), area.data(), max_len};
    int const ret = instance.send(Cmd::CONV_PARAM_TO_STR, &rec);
    expect(area.is_intact(), "a text was longer than its room");
    expect(ret != 0 ||
               std::memchr(area.data(), 0, static_cast<std::size_t>(max_len) + 1) != nullptr,
           "a text without an end");
}

void Driver::take_events(long nbr_spl) {
    _event_list.clear();
    _ptr_list.clear();
    for (long left = nbr_spl > 0 ? _bytes.roll(12) : 0; left > 0; --left) {
        Dsp::Event& event = _event_list.emplace_back();
        std::memset(static_cast<void*>(&event), 0, sizeof(event));
        int const byte = _bytes.take();
        event.type = byte < 240 ? 5 + byte % 5 : byte - 245;
        event.timestamp = _bytes.take() * nbr_spl / 256;
        if (event.type == Dsp::EventType_PARAM) {
            event.param.location = take_location();
            event.param.ramp_len = _bytes.take() / 16 * 16;
            event.param.val_beg = _bytes.pick(val_arr);
            event.param.val_end = _bytes.pick(val_arr);
        } else {
            event.note_id = static_cast<int>(_bytes.roll(4));
        }
    }
    std::stable_sort(_event_list.begin(), _event_list.end(),
                     [](auto const& a, auto const& b) { return a.timestamp < b.timestamp; });
    for (Dsp::Event const& event : _event_list) {
        _ptr_list.push_back(&event);
    }
}

void Driver::run_process(Instance& instance) {
    if (!instance.conf_flag || !instance.freq_flag || instance.max_len == 0) {
        return;
    }
    long const nbr_spl = _bytes.take() * (instance.max_len + 1) / 256;
    PinArea in(instance.chn_arr[0], instance.max_len);
    PinArea out(instance.chn_arr[1], instance.max_len);
    int const states = _bytes.take();
    for (PinArea* const area : {&in, &out}) {
        for (long pin = 0; pin < area->get_nbr_pins(); ++pin) {
            area->set_state(pin, (states >> (pin % 4 * 2)) % 4 % 3);
            area->fill(pin, 0.5f);
        }
        area->keep();
    }
    take_events(nbr_spl);
    Cmd::Process rec = {in.use_port(),
                        out.use_port(),
                        {_ptr_list.data(), static_cast<long>(_ptr_list.size())},
                        nbr_spl};
    expect(instance.send(Cmd::PROCESS, &rec) == 0, "PROCESS failed");
    for (long pin = 0; pin < in.get_nbr_pins(); ++pin) {
        expect(in.are_guards_intact(pin) && in.is_same(pin, 0, in.get_max_len()),
               "an input was written to");
    }
    for (long pin = 0; pin < out.get_nbr_pins(); ++pin) {
        expect(out.are_guards_intact(pin) && out.is_same(pin, nbr_spl, out.get_max_len()),
               "written beyond an output");
        expect(out.get_state(pin) >= 0 && out.get_state(pin) <= 2, "a state that is none");
    }
}

int swallow_log(int, void*) {
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static int const installed =
        ulk::ace::baplug::ulk_entry_point(2, reinterpret_cast<void*>(&swallow_log));
    expect(installed == 0, "no log");
    Bytes bytes(data, size);
    Driver driver(bytes);
    while (!bytes.is_empty()) {
        driver.run_step();
    }
    return 0;
}
