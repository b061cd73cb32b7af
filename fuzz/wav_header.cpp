// Headers and chunks of WAV files: what opening gives against a second parser, written from the
// description of the format over a block of memory, and against libsndfile where the file is plain
// enough that both must agree.

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/Mutex.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#if __has_include(<sndfile.h>)
#include <sndfile.h>
#endif

namespace {

using namespace ulk::sacc;

struct Facts {
    int code = 0;
    int nbr_chn = 0;
    std::uint32_t freq = 0;
    int bit_fmt = 0;
    int align = 0;
    long len = 0;      // frames
    long data_pos = 0; // first frame
    bool plain_flag = true;
};

struct Chunk {
    int code = 0;
    long pos = -1; // -1: none
    std::uint32_t size = 0;
};

class Model {
public:
    Model(std::uint8_t const* data, std::size_t len)
        : _data(data)
        , _len(static_cast<long>(len)) {}

    Facts parse() const {
        if (_len < 12 || std::memcmp(_data, "RIFF", 4) != 0 ||
            std::memcmp(_data + 8, "WAVE", 4) != 0) {
            return refuse(Err_FORMAT_UNKNOWN);
        }
        auto const fmt = find("fmt ", 24);
        if (fmt.code != 0 || fmt.pos < 0) {
            return refuse(fmt.code != 0 ? fmt.code : int{Err_WAV_CHUNK_NOT_FOUND});
        }
        if (fmt.pos + 8 + std::min<long>(fmt.size, 992) > _len) {
            return refuse(ulk::sys::Err_FILE_READ_PAST_END);
        }
        Facts facts = check_fmt(fmt.pos + 8);
        return facts.code == 0 ? add_data(facts, fmt) : facts;
    }

private:
    static Facts refuse(int code) {
        Facts facts;
        facts.code = code;
        return facts;
    }

    std::uint32_t get(long pos, int nbr_bytes) const {
        std::uint32_t val = 0;
        for (int b = 0; b < nbr_bytes; ++b) {
            val += static_cast<std::uint32_t>(_data[pos + b]) << (8 * b);
        }
        return val;
    }

    Chunk find(char const* id, std::uint32_t min_total) const {
        Chunk chunk;
        for (long pos = 12; pos + 8 <= _len;) {
            auto const size = get(pos + 4, 4);
            std::uint32_t const total = size + 8;
            if (size == 0xFFFFFFFF || total == 0) {
                chunk.code = Err_WAV_CHUNK_SIZE;
                return chunk;
            }
            if (std::memcmp(_data + pos, id, 4) == 0) {
                chunk.code = total < min_total ? int{Err_WAV_CHUNK_SIZE} : 0;
                chunk.pos = pos;
                chunk.size = size;
                return chunk;
            }
            pos += total;
        }
        return chunk;
    }

    Facts check_fmt(long pos) const {
        auto const category = get(pos, 2);
        auto const bits = get(pos + 14, 2);
        Facts facts;
        facts.nbr_chn = static_cast<int>(get(pos + 2, 2));
        facts.freq = get(pos + 4, 4);
        facts.align = static_cast<int>(get(pos + 12, 2));
        facts.bit_fmt = bits == 8 ? 0 : bits == 16 ? 1 : bits == 24 ? 2 : category == 1 ? 3 : 4;
        int const need = static_cast<int>(bits / 8) * facts.nbr_chn;
        facts.code = category != 1 && category != 3                        ? Err_WAV_CATEGORY
                     : bits != 8 && bits != 16 && bits != 24 && bits != 32 ? Err_WAV_BIT_DEPTH
                     : facts.freq < 100 || facts.freq > 10000000           ? Err_WAV_OUT_OF_RANGE
                     : facts.nbr_chn < 1 || facts.nbr_chn > 255            ? Err_WAV_OUT_OF_RANGE
                     : need > facts.align     ? Err_WAV_INCONSISTENT_BIT_DEPTH
                     : facts.align > need * 4 ? Err_WAV_OUT_OF_RANGE
                                              : 0;
        auto const rate = facts.freq * static_cast<std::uint32_t>(facts.align);
        facts.plain_flag =
            need == facts.align && get(pos + 8, 4) == rate && (category == 1 || bits == 32);
        return facts;
    }

    Facts add_data(Facts facts, Chunk const& fmt) const {
        auto const data = find("data", 8);
        if (data.code != 0 || data.pos < 0) {
            return refuse(data.code != 0 ? data.code : int{Err_WAV_CHUNK_NOT_FOUND});
        }
        facts.data_pos = data.pos + 8;
        facts.len = static_cast<long>(data.size) / facts.align;
        if (facts.data_pos + facts.len * facts.align > _len) {
            return refuse(Err_WAV_TRUNCATED);
        }
        // Nothing but a fmt chunk of 16 bytes and a data chunk to the end.
        facts.plain_flag = facts.plain_flag && get(4, 4) == static_cast<std::uint32_t>(_len - 8) &&
                           fmt.pos == 12 && fmt.size == 16 && data.pos == 36 && facts.len > 0 &&
                           facts.data_pos + facts.len * facts.align == _len;
        return facts;
    }

    std::uint8_t const* _data;
    long _len;
};

void require(bool ok_flag, char const* what) {
    if (!ok_flag) {
        std::fprintf(stderr, "disagreement: %s\n", what);
        std::abort();
    }
}

void save(std::string const& path, std::uint8_t const* data, std::size_t len) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    require(file != nullptr && std::fwrite(data, 1, len, file) == len, "cannot write the file");
    std::fclose(file);
}

// All frames of an open file; the places beside them stay as they are.
std::vector<float> read_all(SplFileHnd& hnd, Facts const& facts) {
    std::vector<float> samples(static_cast<std::size_t>(facts.len * facts.nbr_chn));
    require(hnd.read_block(samples.data(), 0, facts.len) == 0, "reading");
    require(hnd.read_block(samples.data(), facts.len, 1) == Err_OUT_OF_RANGE,
            "reading behind the end");
    return samples;
}

void check_extra_data(SplFileHnd& hnd, Facts const& facts, long file_len) {
    SplFileExtData ext;
    require(hnd.read_ext_data(ext) == 0, "extra data");
    long kept = 0;
    for (int part = 0; part < ext.get_nbr_parts(); ++part) {
        kept += ext.get_part_len(part);
    }
    require(ext.get_file_length() == file_len && kept + facts.len * facts.align == file_len,
            "extra data and samples make the file");
}

#if __has_include(<sndfile.h>)
void check_sndfile(std::string const& path, Facts const& facts, std::vector<float> const& samples) {
    SF_INFO info = {};
    auto* const snd = sf_open(path.c_str(), SFM_READ, &info);
    require(snd != nullptr, "libsndfile refuses a plain file");
    require(info.channels == facts.nbr_chn && info.frames == facts.len &&
                info.samplerate == static_cast<int>(facts.freq),
            "libsndfile sees another format");
    std::vector<float> other(samples.size());
    require(sf_readf_float(snd, other.data(), info.frames) == info.frames, "libsndfile reads less");
    require(std::memcmp(other.data(), samples.data(), samples.size() * sizeof(float)) == 0,
            "libsndfile finds other samples");
    sf_close(snd);
}
#endif

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t len) {
    static std::string const path = std::filesystem::temp_directory_path() /
                                    ("fuzz_wav_header_" + std::to_string(::getpid()) + ".wav");
    save(path, data, len);
    auto const facts = Model(data, len).parse();
    ulk::sys::Mutex mutex;
    SplFileMgr mgr(mutex);
    SplFileHnd hnd;
    require(hnd.open(mgr, path.c_str(), false) == facts.code, "result of opening");
    if (facts.code == 0) {
        require(hnd.get_nbr_chn() == facts.nbr_chn && hnd.get_sample_freq() == facts.freq &&
                    int{hnd.get_sample_format()} == facts.bit_fmt && hnd.get_length() == facts.len,
                "format");
        auto const samples = read_all(hnd, facts);
        check_extra_data(hnd, facts, static_cast<long>(len));
        require(hnd.close() == 0, "closing");
#if __has_include(<sndfile.h>)
        if (facts.plain_flag) {
            check_sndfile(path, facts, samples);
        }
#endif
    }
    std::filesystem::remove(path);
    return 0;
}
