#include "host/check/SampleHost.h"

#include "host/Error.h"
#include "host/SoundFileWriter.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/sys/RealTimeGuard.h"

#include <cmath>
#include <filesystem>
#include <random>

#include <sndfile.h>

namespace ulk::host::check {

namespace {

namespace fs = std::filesystem;

constexpr long cell_len = 1024;
constexpr long nbr_cells = 256;
constexpr std::size_t pos_missing = 7; // of a sample that there is not, among eight
constexpr std::size_t pos_stray = 6;   // of one that the cache does not know
constexpr long stray_id = 1L << 30;

// A file name that nobody has, gone at the end: what is open stays readable.
class TemporaryName {
public:
    TemporaryName()
        : _path((fs::temp_directory_path() /
                 ("tessitone-check-" + std::to_string(std::random_device()()) + ".wav"))
                    .string()) {}
    ~TemporaryName() {
        std::error_code ignored;
        fs::remove(_path, ignored);
    }
    TemporaryName(TemporaryName const&) = delete;
    TemporaryName& operator=(TemporaryName const&) = delete;

    std::string const& get() const { return _path; }

private:
    std::string _path;
};

void write_sample(std::string const& path, long len, double sample_freq, int nbr_chn) {
    std::vector<std::vector<float>> chn_list(static_cast<std::size_t>(nbr_chn));
    std::vector<float const*> ptr_list;
    for (auto& chn : chn_list) {
        for (long i = 0; i < len; ++i) {
            chn.push_back(static_cast<float>(std::sin(0.03 * static_cast<double>(i))));
        }
        ptr_list.push_back(chn.data());
    }
    SoundFileWriter writer(path, {sample_freq, nbr_chn, SF_FORMAT_FLOAT});
    writer.write(ptr_list.data(), len);
    writer.close();
}

void expect_ok(int ret, char const* what) {
    if (ret != 0) {
        throw Error(Error::Kind_IO, std::string(what) + " failed: " + std::to_string(ret));
    }
}

} // namespace

SampleHost::SampleHost() {
    expect_ok(_cache.set_memory(cell_len * nbr_cells, 0, cell_len), "memory for samples");
    add_sample(50000, 44100, 2);
    add_sample(3000, 48000, 1);
    add_sample(20000, 96000, 1);
    add_sample(10, 22050, 6);
}

SampleHost::~SampleHost() {
    for (Sample const& sample : _sample_list) {
        _cache.close_file(sample.cache_id);
    }
}

void SampleHost::add_sample(long len, double sample_freq, int nbr_chn) {
    TemporaryName const name;
    write_sample(name.get(), len, sample_freq, nbr_chn);
    long id = 0;
    expect_ok(_cache.open_file(id, name.get().c_str(), false), "opening a temporary sample");
    _sample_list.push_back({id, len, sample_freq, nbr_chn});
}

void SampleHost::load() {
    while (_cache.do_run_slice()) {
    }
}

void SampleHost::load_all() {
    for (Sample const& sample : _sample_list) {
        expect_ok(_cache.lock_data(sample.cache_id, 0, static_cast<long>(sample.len)),
                  "keeping a sample in memory");
    }
    load();
}

int SampleHost::LentCache::do_prefetch_data(sacc::SplCacheFileId file_id, archi::Int64 pos,
                                            long len) {
    sys::RealTimeGuard::Pause const pause;
    return _cache.prefetch_data(file_id, pos, len);
}

int SampleHost::LentCache::do_get_data(sacc::SplCacheFileId file_id, archi::Int64 pos, long len,
                                       sacc::SplCacheIteratorRead& it) {
    sys::RealTimeGuard::Pause const pause;
    return _cache.get_data(file_id, pos, len, it);
}

int SampleHost::LentCache::do_push_data(sacc::SplCacheFileId file_id, long len,
                                        sacc::SplCacheIteratorWrite& it) {
    sys::RealTimeGuard::Pause const pause;
    return _cache.push_data(file_id, len, it);
}

int SampleHost::do_execute(int cmd, void* data) {
    sys::RealTimeGuard::Pause const pause;
    switch (cmd) {
    case ace::baplug::CMD_VENDOR_USE_CACHE:
        static_cast<ace::baplug::UseCache*>(data)->cache_ptr = &_lent_cache;
        return ace::Err_OK;
    case ace::baplug::CMD_VENDOR_GET_SAMPLE_INFO: {
        _asked_flag = true;
        auto& info = *static_cast<ace::baplug::SampleInfo*>(data);
        auto const pos = static_cast<std::size_t>(info.sample_id) % 8;
        if (pos == pos_missing) {
            return ace::Err_NOT_FOUND;
        }
        Sample const& sample = _sample_list[pos % _sample_list.size()];
        info.len = sample.len;
        info.cache_id = pos == pos_stray ? stray_id : sample.cache_id;
        info.sample_freq = sample.sample_freq;
        info.nbr_chn = sample.nbr_chn;
        return ace::Err_OK;
    }
    default:
        return ace::Err_NOT_IMPLEMENTED;
    }
}

} // namespace ulk::host::check
