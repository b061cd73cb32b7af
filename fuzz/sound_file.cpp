// Sound files of all formats that the host reads: whatever the bytes, a file opens or does not, and
// its frames are read into their place alone.

#include "host/SampleFileMgr.h"

#include "ulk/sacc/SplFileHnd.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr long max_read = 4096; // frames
constexpr int nbr_reads = 8;

void require(bool ok_flag, char const* what) {
    if (!ok_flag) {
        std::fprintf(stderr, "disagreement: %s\n", what);
        std::abort();
    }
}

// Reads into a block that ends where its memory does.
bool read(ulk::sacc::SplFileHnd& file, long long pos, long len) {
    std::vector<float> frames(static_cast<std::size_t>(len * file.get_nbr_chn()));
    return file.read_block(frames.data(), pos, len) == 0;
}

void check_file(ulk::sacc::SplFileHnd& file, std::uint32_t seed) {
    auto const len = file.get_length();
    require(file.get_nbr_chn() >= 1 && file.get_nbr_chn() <= 255, "channels");
    require(file.get_sample_freq() >= 100 && file.get_sample_freq() <= 1e7, "rate");
    require(len >= 0 && len <= 1LL << 40, "length");
    std::mt19937 rng(seed);
    for (int index = 0; index < nbr_reads && len > 0; ++index) {
        auto const pos = std::uniform_int_distribution<long long>(0, len - 1)(rng);
        auto const most = std::min<long long>(len - pos, max_read);
        read(file, pos, std::uniform_int_distribution<long>(1, static_cast<long>(most))(rng));
    }
}

} // namespace

// libsndfile forgets some of what it made for an Ogg file when it refuses it.
extern "C" char const* __lsan_default_suppressions();
extern "C" char const* __lsan_default_suppressions() {
    return "leak:vorbis_info_init\nleak:libvorbis\nleak:libsndfile\nleak:libogg\n";
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t len) {
    static std::string const path =
        std::filesystem::temp_directory_path() / ("fuzz_sound_file_" + std::to_string(::getpid()));
    static ulk::host::SampleFileMgr manager;
    std::FILE* const dst = std::fopen(path.c_str(), "wb");
    require(dst != nullptr && std::fwrite(data, 1, len, dst) == len, "cannot write the file");
    std::fclose(dst);
    {
        ulk::sacc::SplFileHnd file;
        if (file.open(manager.use_mgr(), path.c_str(), false) == 0) {
            check_file(file, static_cast<std::uint32_t>(len));
        }
    }
    std::filesystem::remove(path);
    return 0;
}
