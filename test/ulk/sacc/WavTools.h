#pragma once

#include "support/TempDir.h"

#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<unsigned char>;
using Floats = std::vector<float>;

inline Bytes load_bytes(std::string const& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void save_bytes(std::string const& name, Bytes const& data) {
    std::ofstream file(name, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<char const*>(data.data()),
               static_cast<std::streamsize>(data.size()));
}

inline void append_le(Bytes& data, unsigned long val, int nbr_bytes) {
    for (int b = 0; b < nbr_bytes; ++b) {
        data.push_back(static_cast<unsigned char>(val >> (8 * b)));
    }
}

inline void append_txt(Bytes& data, std::string const& txt) {
    for (char const c : txt) {
        data.push_back(static_cast<unsigned char>(c));
    }
}

// A fmt chunk with its header.
inline Bytes make_fmt(int category, int nbr_chn, unsigned long freq, int align, int nbr_bits) {
    Bytes data;
    append_txt(data, "fmt ");
    append_le(data, 16, 4);
    append_le(data, static_cast<unsigned long>(category), 2);
    append_le(data, static_cast<unsigned long>(nbr_chn), 2);
    append_le(data, freq, 4);
    append_le(data, freq * static_cast<unsigned long>(align), 4);
    append_le(data, static_cast<unsigned long>(align), 2);
    append_le(data, static_cast<unsigned long>(nbr_bits), 2);
    return data;
}

inline Bytes make_chunk(std::string const& id, Bytes const& content) {
    Bytes data;
    append_txt(data, id);
    append_le(data, content.size(), 4);
    data.insert(data.end(), content.begin(), content.end());
    return data;
}

inline Bytes make_riff(std::vector<Bytes> const& chunk_list) {
    Bytes data;
    append_txt(data, "RIFF");
    unsigned long len = 4;
    for (auto const& chunk : chunk_list) {
        len += chunk.size();
    }
    append_le(data, len, 4);
    append_txt(data, "WAVE");
    for (auto const& chunk : chunk_list) {
        data.insert(data.end(), chunk.begin(), chunk.end());
    }
    return data;
}

inline ulk::sacc::SplFileFmtDesc make_desc(ulk::sacc::SplFileBitFmt bit_fmt, int nbr_chn,
                                           double freq = 44100) {
    ulk::sacc::SplFileFmtDesc desc;
    desc.set_data(ulk::sacc::SplFileFmt_WAV, bit_fmt, freq, nbr_chn);
    return desc;
}

// A manager with its mutex, and a directory for files.
struct SplFiles {
    std::string make_name(std::string const& name) const { return dir.make_name(name); }

    TempDir dir;
    ulk::sys::Mutex mutex;
    ulk::sacc::SplFileMgr mgr{mutex};
};

// The coding's bytes for values in the file's own terms, without the code under test.
struct Coding {
    char const* name;
    ulk::sacc::SplFileBitFmt bit_fmt;
    int nbr_bytes;
    double nominal;
    int sndfile_subtype;
};

inline constexpr Coding coding_list[] = {
    {"u8", ulk::sacc::SplFileBitFmt_U8, 1, 128, 0x0005},
    {"s16", ulk::sacc::SplFileBitFmt_S16, 2, 32768, 0x0002},
    {"s24", ulk::sacc::SplFileBitFmt_S24, 3, 8388608, 0x0003},
    {"s32", ulk::sacc::SplFileBitFmt_S32, 4, 2147483648.0, 0x0004},
    {"f32", ulk::sacc::SplFileBitFmt_F32, 4, 1, 0x0006},
};

} // namespace test
