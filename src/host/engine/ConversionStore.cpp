#include "host/engine/ConversionStore.h"

#include "host/Error.h"
#include "host/SampleFileMgr.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sys/posix/Folders.h"

#include <soxr.h>
#include <xxhash.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <vector>

namespace ulk::host::engine {

namespace {

namespace fs = std::filesystem;

constexpr long chunk_len = 65536; // frames, or bytes

// To be raised whenever the same source and ratio give other files.
constexpr char recipe[] = "soxr 32 bits float, very high quality, 1";

struct HashDeleter {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
};
struct ConverterDeleter {
    void operator()(soxr* converter) const { soxr_delete(converter); }
};

// One file open for reading or writing.
struct SoundFile {
    SampleFileMgr file_mgr;
    sacc::SplFileHnd hnd;
};

[[noreturn]] void fail(std::string const& path, char const* text) {
    throw Error(Error::Kind_IO, path + ": " + text);
}

// Removes the file unless it was kept.
class TempFile {
public:
    explicit TempFile(std::string const& path)
        : _path(path) {}
    ~TempFile() {
        std::error_code ignored;
        fs::remove(_path, ignored);
    }
    TempFile(TempFile const&) = delete;
    TempFile& operator=(TempFile const&) = delete;

    std::string const& get_path() const { return _path; }
    // Whoever comes last wins, with the same content.
    void keep_as(std::string const& path) const {
        std::error_code ec;
        fs::rename(_path, path, ec);
        if (ec) {
            fail(path, "cannot be made");
        }
    }

private:
    std::string _path;
};

using Converter = std::unique_ptr<soxr, ConverterDeleter>;

Converter make_converter(std::string const& path, double in_freq, double out_freq, int nbr_chn) {
    soxr_error_t error = nullptr;
    soxr_io_spec_t const io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    soxr_quality_spec_t const quality = soxr_quality_spec(SOXR_VHQ, 0);
    soxr_runtime_spec_t const runtime = soxr_runtime_spec(1);
    Converter converter(soxr_create(in_freq, out_freq, static_cast<unsigned>(nbr_chn), &error, &io,
                                    &quality, &runtime));
    if (error != nullptr) {
        fail(path, error);
    }
    return converter;
}

void convert(SoundFile& in, SoundFile& out, soxr* converter, std::string const& path,
             double ratio) {
    int const nbr_chn = in.hnd.get_nbr_chn();
    long const max_out = static_cast<long>(std::ceil(chunk_len * ratio)) + 64;
    std::vector<float> in_arr(static_cast<std::size_t>(chunk_len * nbr_chn));
    std::vector<float> out_arr(static_cast<std::size_t>(max_out * nbr_chn));
    long long out_pos = 0;
    bool end_flag = false;
    for (long long in_pos = 0; !end_flag;) {
        long const len =
            static_cast<long>(std::min<long long>(in.hnd.get_length() - in_pos, chunk_len));
        if (len > 0 && in.hnd.read_block(in_arr.data(), in_pos, len) != 0) {
            fail(path, "reading failed");
        }
        std::size_t used = 0;
        std::size_t made = 0;
        soxr_process(converter, len > 0 ? in_arr.data() : nullptr, static_cast<std::size_t>(len),
                     &used, out_arr.data(), static_cast<std::size_t>(max_out), &made);
        if (soxr_error(converter) != nullptr) {
            fail(path, soxr_error(converter));
        }
        if (made > 0 &&
            out.hnd.write_block(out_arr.data(), out_pos, static_cast<long>(made)) != 0) {
            fail(path, "its conversion cannot be written; is the disk full?");
        }
        in_pos += static_cast<long long>(used);
        out_pos += static_cast<long long>(made);
        end_flag = len == 0 && made == 0;
    }
}

} // namespace

ConversionStore::ConversionStore(std::string const& folder)
    : _folder(folder) {}

std::string ConversionStore::find_default_folder() {
    return sys::posix::Folders::get_cache() + "/tessitone/samples";
}

std::string ConversionStore::find_path(std::string const& source, double ratio) const {
    std::unique_ptr<XXH3_state_t, HashDeleter> const state(XXH3_createState());
    XXH3_128bits_reset(state.get());
    XXH3_128bits_update(state.get(), recipe, sizeof(recipe));
    XXH3_128bits_update(state.get(), &ratio, sizeof(ratio));
    std::ifstream in(source, std::ios::binary);
    std::vector<char> chunk(chunk_len);
    while (in) {
        in.read(chunk.data(), chunk_len);
        XXH3_128bits_update(state.get(), chunk.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (!in.eof()) {
        fail(source, "reading failed");
    }
    XXH128_hash_t const hash = XXH3_128bits_digest(state.get());
    char name[64];
    std::snprintf(name, sizeof(name), "/%016llx%016llx.wav",
                  static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return _folder + name;
}

bool ConversionStore::read_facts(std::string const& path, SampleFacts& facts) {
    SoundFile file;
    if (!fs::exists(path) || file.hnd.open(file.file_mgr.use_mgr(), path.c_str(), false) != 0) {
        return false;
    }
    facts.len = file.hnd.get_length();
    facts.sample_freq = file.hnd.get_sample_freq();
    facts.nbr_chn = file.hnd.get_nbr_chn();
    return true;
}

ConversionStore::Result ConversionStore::find_or_make(std::string const& path,
                                                      SampleFacts const& facts, double speed,
                                                      double sample_freq) const {
    double const ratio = sample_freq / (facts.sample_freq * speed);
    Result result = {find_path(path, ratio), {}, false};
    if (read_facts(result.path, result.facts)) {
        return result;
    }
    std::error_code ec;
    fs::create_directories(_folder, ec);
    TempFile const temp(result.path + "." + std::to_string(std::random_device()()) + ".part");
    SoundFile in;
    if (in.hnd.open(in.file_mgr.use_mgr(), path.c_str(), false) != 0) {
        fail(path, "cannot be read");
    }
    SoundFile out;
    sacc::SplFileFmtDesc desc;
    desc.set_data(sacc::SplFileFmt_WAV, sacc::SplFileBitFmt_F32, sample_freq, facts.nbr_chn);
    if (out.hnd.create_new(out.file_mgr.use_mgr(), temp.get_path().c_str(), desc, 0) != 0) {
        fail(_folder, "a sample's conversion cannot be made there");
    }
    convert(in, out,
            make_converter(path, facts.sample_freq * speed, sample_freq, facts.nbr_chn).get(), path,
            ratio);
    if (out.hnd.close() != 0) {
        fail(path, "its conversion cannot be written; is the disk full?");
    }
    temp.keep_as(result.path);
    result.made_flag = true;
    if (!read_facts(result.path, result.facts)) {
        fail(result.path, "cannot be read");
    }
    return result;
}

} // namespace ulk::host::engine
