// Text output beside its rivals: fmt, std::to_chars and the C library

#include "ulk/math/ShortDigits.h"
#include "ulk/txt/out/PrintNa.h"

#include <benchmark/benchmark.h>
#if __has_include(<fmt/format.h>)
#define FMT_HEADER_ONLY
#include <fmt/format.h>
#define BENCH_FMT 1
#endif

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>

using ulk::txt::out::PrintNa;

namespace {

constexpr std::size_t nbr_val = 1024;

auto const& use_ints() {
    static auto const arr = [] {
        std::array<long long, nbr_val> res{};
        std::mt19937_64 rnd(1);
        for (auto& val : res) {
            val = static_cast<long long>(rnd()) >> rnd() % 64;
        }
        return res;
    }();
    return arr;
}

// Full mantissas from 1e-9 to 1e9, as a display shows them
auto const& use_floats() {
    static auto const arr = [] {
        std::array<double, nbr_val> res{};
        std::mt19937_64 rnd(2);
        for (auto& val : res) {
            val = std::pow(10.0, static_cast<double>(rnd() >> 11) * 0x1p-53 * 18 - 9);
        }
        return res;
    }();
    return arr;
}

template <class Arr, class Fnc>
void run(benchmark::State& state, Arr const& arr, Fnc fnc) {
    char buf[1024];
    std::size_t pos = 0;
    for (auto _ : state) {
        fnc(buf, arr[pos]);
        benchmark::DoNotOptimize(buf);
        benchmark::ClobberMemory();
        pos = (pos + 1) % nbr_val;
    }
}

template <class T>
void print_one(char* buf, char const* format, T val) {
    PrintNa print(buf, 1023);
    print.print(format).arg(val);
}

void int_ours(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) { print_one(buf, "%1%", val); });
}
void int_to_chars(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) { *std::to_chars(buf, buf + 64, val).ptr = 0; });
}
void int_snprintf(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) { std::snprintf(buf, 1024, "%lld", val); });
}
void shortest_ours(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { print_one(buf, "%1tp20%", val); });
}
void shortest_digits(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) {
        ulk::math::ShortDigits digits;
        digits.set(val, 10);
        buf[0] = *digits.get_digits();
    });
}
void shortest_to_chars(benchmark::State& state) {
    run(state, use_floats(),
        [](char* buf, double val) { *std::to_chars(buf, buf + 64, val).ptr = 0; });
}
void shortest_snprintf(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { std::snprintf(buf, 1024, "%.17g", val); });
}
void default_ours(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { print_one(buf, "%1%", val); });
}
void fixed_ours(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { print_one(buf, "%1fp3v%", val); });
}
void fixed_to_chars(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) {
        *std::to_chars(buf, buf + 64, val, std::chars_format::fixed, 3).ptr = 0;
    });
}
void fixed_snprintf(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { std::snprintf(buf, 1024, "%.3f", val); });
}
// As the log macro calls it: eight arguments, of which the format uses one
void line_ours(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) {
        PrintNa print(buf, 1023);
        print.print("get_data(): Unknown file id %1%")
            .arg(static_cast<int>(val))
            .arg(0)
            .arg(0)
            .arg(0)
            .arg(0)
            .arg(0)
            .arg(0)
            .arg(0);
    });
}
void line_snprintf(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) {
        std::snprintf(buf, 1024, "get_data(): Unknown file id %d", static_cast<int>(val));
    });
}

#ifdef BENCH_FMT
template <class T>
void fmt_one(char* buf, fmt::format_string<T&> format, T val) {
    *fmt::format_to_n(buf, 1023, format, val).out = 0;
}
void int_fmt(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, long long val) { fmt_one(buf, "{}", val); });
}
void shortest_fmt(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { fmt_one(buf, "{}", val); });
}
void fixed_fmt(benchmark::State& state) {
    run(state, use_floats(), [](char* buf, double val) { fmt_one(buf, "{:.3f}", val); });
}
void line_fmt(benchmark::State& state) {
    run(state, use_ints(), [](char* buf, auto val) {
        fmt_one(buf, "get_data(): Unknown file id {}", static_cast<int>(val));
    });
}
BENCHMARK(int_fmt)->Name("int/fmt");
BENCHMARK(shortest_fmt)->Name("shortest/fmt");
BENCHMARK(fixed_fmt)->Name("fixed/fmt");
BENCHMARK(line_fmt)->Name("line/fmt");
#endif

BENCHMARK(int_ours)->Name("int/tessitone");
BENCHMARK(int_to_chars)->Name("int/to_chars");
BENCHMARK(int_snprintf)->Name("int/snprintf");
BENCHMARK(shortest_ours)->Name("shortest/tessitone");
BENCHMARK(shortest_digits)->Name("shortest/tessitone_digits");
BENCHMARK(shortest_to_chars)->Name("shortest/to_chars");
BENCHMARK(shortest_snprintf)->Name("shortest/snprintf");
BENCHMARK(default_ours)->Name("default/tessitone");
BENCHMARK(fixed_ours)->Name("fixed/tessitone");
BENCHMARK(fixed_to_chars)->Name("fixed/to_chars");
BENCHMARK(fixed_snprintf)->Name("fixed/snprintf");
BENCHMARK(line_ours)->Name("line/tessitone");
BENCHMARK(line_snprintf)->Name("line/snprintf");

} // namespace
