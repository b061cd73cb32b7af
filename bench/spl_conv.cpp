// Conversion between the sample codings of files and floats, a cell of 16384 samples in the
// processor's cache: against libsndfile on a file in memory, which moves the bytes once more, and
// against a copy of the floats, the least that any conversion does.

#include "ulk/sacc/SplFileBitFmtConv.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#if __has_include(<sndfile.h>)
#include <sndfile.h>
#endif

namespace {

using Conv = ulk::sacc::SplFileBitFmtConv;
using Byte = unsigned char;

constexpr long nbr_spl = 16384;

struct Coding {
    char const* name;
    int subtype; // of libsndfile
    float nominal;
    void (*read)(float*, Byte const*, long, float);
    void (*write)(Byte*, float const*, long, float);
};

void read_f32(float* dst, Byte const* src, long n, float scale) {
    Conv::conv_f32_to_n_generic(2, dst, const_cast<Byte*>(src), n, 1, 4, scale);
}
void write_f32(Byte* dst, float const* src, long n, float scale) {
    Conv::conv_n_to_f32_generic(2, dst, src, n, 1, 4, scale);
}

constexpr Coding coding_list[] = {
    {"u8", 5, 128, Conv::conv_u8_to_n, Conv::conv_n_to_u8},
    {"s8", 1, 128, Conv::conv_s8_to_n, Conv::conv_n_to_s8},
    {"s16", 2, 32768, Conv::conv_s16_to_n, Conv::conv_n_to_s16},
    {"s24", 3, 8388608, Conv::conv_s24_to_n, Conv::conv_n_to_s24},
    {"s32", 4, 2147483648.f, Conv::conv_s32_to_n, Conv::conv_n_to_s32},
    {"f32", 6, 1, read_f32, write_f32},
};

std::vector<float> make_floats() {
    std::vector<float> data(nbr_spl);
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> dist(-1, 1);
    for (auto& spl : data) {
        spl = dist(rng);
    }
    return data;
}

template <class F>
void run(benchmark::State& state, F const& fnc) {
    for (auto _ : state) {
        fnc();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * nbr_spl);
}

void read(benchmark::State& state, Coding const& coding) {
    std::vector<Byte> const src(nbr_spl * 4, 0x35);
    std::vector<float> dst(nbr_spl);
    run(state, [&] { coding.read(dst.data(), src.data(), nbr_spl, 1 / coding.nominal); });
}

void write(benchmark::State& state, Coding const& coding) {
    auto const src = make_floats();
    std::vector<Byte> dst(nbr_spl * 4);
    run(state, [&] { coding.write(dst.data(), src.data(), nbr_spl, coding.nominal); });
}

void copy(benchmark::State& state, Coding const&) {
    auto const src = make_floats();
    std::vector<float> dst(nbr_spl);
    run(state, [&] { std::memcpy(dst.data(), src.data(), nbr_spl * sizeof(float)); });
}

#if __has_include(<sndfile.h>)

// A file without headers, in memory.
class SndMem {
public:
    SndMem(Coding const& coding, int mode) {
        SF_VIRTUAL_IO io = {get_len, seek, load, save, tell};
        SF_INFO info = {0, 48000, 1, SF_FORMAT_RAW | SF_ENDIAN_LITTLE | coding.subtype, 0, 0};
        _snd = sf_open_virtual(&io, mode, &info, this);
        sf_command(_snd, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    }
    SndMem(SndMem const&) = delete;
    SndMem& operator=(SndMem const&) = delete;
    ~SndMem() { sf_close(_snd); }

    SNDFILE* rewind() {
        sf_seek(_snd, 0, SEEK_SET);
        return _snd;
    }

private:
    static SndMem& use(void* ptr) { return *static_cast<SndMem*>(ptr); }
    static sf_count_t get_len(void* ptr) { return static_cast<sf_count_t>(use(ptr)._data.size()); }
    static sf_count_t seek(sf_count_t pos, int whence, void* ptr) {
        auto const base = whence == SEEK_SET   ? 0
                          : whence == SEEK_CUR ? use(ptr)._pos
                                               : get_len(ptr);
        return use(ptr)._pos = base + pos;
    }
    static sf_count_t load(void* dst, sf_count_t len, void* ptr) {
        std::memcpy(dst, use(ptr)._data.data() + use(ptr)._pos, static_cast<std::size_t>(len));
        use(ptr)._pos += len;
        return len;
    }
    static sf_count_t save(void const* src, sf_count_t len, void* ptr) {
        std::memcpy(use(ptr)._data.data() + use(ptr)._pos, src, static_cast<std::size_t>(len));
        use(ptr)._pos += len;
        return len;
    }
    static sf_count_t tell(void* ptr) { return use(ptr)._pos; }

    std::vector<Byte> _data = std::vector<Byte>(nbr_spl * 4, 0x35);
    sf_count_t _pos = 0;
    SNDFILE* _snd = nullptr;
};

void read_sndfile(benchmark::State& state, Coding const& coding) {
    SndMem mem(coding, SFM_READ);
    std::vector<float> dst(nbr_spl);
    run(state, [&] { sf_read_float(mem.rewind(), dst.data(), nbr_spl); });
}

void write_sndfile(benchmark::State& state, Coding const& coding) {
    SndMem mem(coding, SFM_WRITE);
    auto const src = make_floats();
    run(state, [&] { sf_write_float(mem.rewind(), src.data(), nbr_spl); });
}

#endif

int const registered = [] {
    for (auto const& coding : coding_list) {
        auto const add = [&](char const* what, void (*fnc)(benchmark::State&, Coding const&)) {
            benchmark::RegisterBenchmark((std::string(what) + coding.name).c_str(),
                                         [fnc, &coding](auto& state) { fnc(state, coding); });
        };
        add("read/tessitone/", read);
        add("write/tessitone/", write);
        add("read/memcpy/", copy);
        add("write/memcpy/", copy);
#if __has_include(<sndfile.h>)
        add("read/libsndfile/", read_sndfile);
        add("write/libsndfile/", write_sndfile);
#endif
    }
    return 0;
}();

} // namespace
