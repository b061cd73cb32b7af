// Text: character properties, case, validation, search and line breaks, beside ICU, libunistring
// and the C library. Times are for 64 KiB of text or as many characters; the rows of one subject
// work on the same text, and a row's bytes or items a second can be compared directly.

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/utf8.h"

#include <benchmark/benchmark.h>

#ifdef HAS_ICU
#include <unicode/ubrk.h>
#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#endif
#ifdef HAS_UNISTRING
#include <unilbrk.h>
#include <unistr.h>
#endif

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

namespace utf8 = ulk::txt::utf8;
using namespace ulk::txt::unicode;
using utf8::Codec8;

constexpr std::size_t text_len = 65536;

enum Script { ASCII, MIXED };

// Words of one script each; MIXED changes between Latin with accents, Greek, Cyrillic, Han and
// emoji from word to word.
std::string make_text(Script script) {
    struct Range {
        Char beg;
        Char end;
    };
    static constexpr Range ranges[] = {{'a', 'z'},     {0xC0, 0x17F},    {0x391, 0x3C9},
                                       {0x410, 0x44F}, {0x4E00, 0x9FA5}, {0x1F600, 0x1F64F}};
    std::mt19937 rnd(1);
    std::string text;
    while (text.size() < text_len) {
        Range const& range = ranges[script == ASCII ? 0 : rnd() % 6];
        unsigned const nbr_chars = 2 + static_cast<unsigned>(rnd() % 8);
        for (unsigned i = 0; i < nbr_chars; ++i) {
            std::string seq;
            Char const span = range.end - range.beg + 1;
            Codec8::encode_char(seq, range.beg + static_cast<Char>(rnd()) % span);
            text += seq;
        }
        text += rnd() % 12 == 0 ? ". " : " ";
    }
    return text;
}

std::string const& use_text(benchmark::State const& state) {
    static std::string const texts[] = {make_text(ASCII), make_text(MIXED)};
    return texts[state.range(0)];
}

std::vector<Char> decode(std::string const& text) {
    std::vector<Char> chars;
    int len;
    for (std::size_t pos = 0; pos < text.size(); pos += static_cast<std::size_t>(len)) {
        Char c;
        Codec8::decode_char(c, text.c_str() + pos, len);
        chars.push_back(c);
    }
    return chars;
}

// One property of each character, summed.
template <class Fnc>
void run_property(benchmark::State& state, Fnc fnc) {
    std::vector<Char> const chars = decode(use_text(state));
    for (auto _ : state) {
        long sum = 0;
        for (Char const c : chars) {
            sum += fnc(c);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(chars.size()));
}

void set_bytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<long>(use_text(state).size()));
}

void run_category(benchmark::State& state) {
    run_property(state, [](Char c) { return CharData::get_categ(c); });
}
void run_upper(benchmark::State& state) {
    run_property(state, [](Char c) { return CharData::to_upper(c); });
}

void run_check(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Codec8::check_string_valid(use_text(state)));
    }
    set_bytes(state);
}

void run_decode(benchmark::State& state) {
    std::wstring dst;
    for (auto _ : state) {
        benchmark::DoNotOptimize(utf8::decode_wstring(dst, use_text(state)));
    }
    set_bytes(state);
}

void run_upper_text(benchmark::State& state) {
    std::string dst;
    std::string const& text = use_text(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(utf8::conv_to_upper_case(dst, text.c_str(), text.size()));
    }
    set_bytes(state);
}

constexpr char const* needle = "Quiz#show";

void run_search(benchmark::State& state) {
    for (auto _ : state) {
        long pos = 0;
        benchmark::DoNotOptimize(utf8::strstr_ci(use_text(state).c_str(), needle, pos));
    }
    set_bytes(state);
}

void run_strcasestr(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(strcasestr(use_text(state).c_str(), needle));
    }
    set_bytes(state);
}

// From characters to places, as the rivals work.
void run_lines(benchmark::State& state) {
    std::vector<Char> const chars = decode(use_text(state));
    std::vector<LineBreakProp> props(chars.size());
    std::vector<LineBreakAction> actions(chars.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < chars.size(); ++i) {
            props[i] = CharData::get_line_break_prop(chars[i]);
        }
        unsigned long pos = 0;
        while (pos < props.size()) {
            pos += CharData::find_line_breaks(actions.data() + pos, props.data() + pos,
                                              props.size() - pos);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(chars.size()));
}

void add_texts(benchmark::internal::Benchmark* bench) {
    bench->ArgName("mixed")->Arg(ASCII)->Arg(MIXED);
}

BENCHMARK(run_category)->Name("category/tessitone")->Apply(add_texts);
#ifdef HAS_ICU
void run_category_icu(benchmark::State& state) {
    run_property(state, [](Char c) { return u_charType(c); });
}
BENCHMARK(run_category_icu)->Name("category/ICU")->Apply(add_texts);
#endif

BENCHMARK(run_upper)->Name("upper/tessitone")->Apply(add_texts);
#ifdef HAS_ICU
void run_upper_icu(benchmark::State& state) {
    run_property(state, [](Char c) { return u_toupper(c); });
}
BENCHMARK(run_upper_icu)->Name("upper/ICU")->Apply(add_texts);
#endif

BENCHMARK(run_upper_text)->Name("upper text/tessitone")->Apply(add_texts);
#ifdef HAS_ICU
void run_upper_text_icu(benchmark::State& state) {
    UErrorCode err = U_ZERO_ERROR;
    UCaseMap* const map = ucasemap_open("", 0, &err);
    std::string const& text = use_text(state);
    std::string dst(text.size() * 2, '\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(ucasemap_utf8ToUpper(map, dst.data(), static_cast<int>(dst.size()),
                                                      text.data(), static_cast<int>(text.size()),
                                                      &err));
    }
    ucasemap_close(map);
    set_bytes(state);
}
BENCHMARK(run_upper_text_icu)->Name("upper text/ICU")->Apply(add_texts);
#endif

BENCHMARK(run_check)->Name("validation/tessitone")->Apply(add_texts);
#ifdef HAS_UNISTRING
void run_check_unistring(benchmark::State& state) {
    std::string const& text = use_text(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            u8_check(reinterpret_cast<std::uint8_t const*>(text.data()), text.size()));
    }
    set_bytes(state);
}
BENCHMARK(run_check_unistring)->Name("validation/libunistring")->Apply(add_texts);
#endif

BENCHMARK(run_decode)->Name("decoding/tessitone")->Apply(add_texts);
#ifdef HAS_ICU
void run_decode_icu(benchmark::State& state) {
    std::string const& text = use_text(state);
    std::vector<UChar32> dst(text.size() + 1);
    for (auto _ : state) {
        UErrorCode err = U_ZERO_ERROR;
        std::int32_t len = 0;
        std::vector<UChar> utf16(text.size() + 1);
        u_strFromUTF8(utf16.data(), static_cast<int>(utf16.size()), &len, text.data(),
                      static_cast<int>(text.size()), &err);
        u_strToUTF32(dst.data(), static_cast<int>(dst.size()), nullptr, utf16.data(), len, &err);
        benchmark::ClobberMemory();
    }
    set_bytes(state);
}
BENCHMARK(run_decode_icu)->Name("decoding/ICU")->Apply(add_texts);
#endif
#ifdef HAS_UNISTRING
void run_decode_unistring(benchmark::State& state) {
    std::string const& text = use_text(state);
    std::vector<std::uint32_t> dst(text.size() + 1);
    for (auto _ : state) {
        std::size_t len = dst.size();
        benchmark::DoNotOptimize(u8_to_u32(reinterpret_cast<std::uint8_t const*>(text.data()),
                                           text.size(), dst.data(), &len));
    }
    set_bytes(state);
}
BENCHMARK(run_decode_unistring)->Name("decoding/libunistring")->Apply(add_texts);
#endif

BENCHMARK(run_search)->Name("search/tessitone")->Apply(add_texts);
BENCHMARK(run_strcasestr)->Name("search/strcasestr")->Apply(add_texts);

BENCHMARK(run_lines)->Name("lines/tessitone")->Apply(add_texts);
#ifdef HAS_ICU
void run_lines_icu(benchmark::State& state) {
    std::vector<Char> const chars = decode(use_text(state));
    std::vector<UChar> utf16(chars.size() * 2);
    UErrorCode err = U_ZERO_ERROR;
    std::int32_t len = 0;
    u_strFromUTF32(utf16.data(), static_cast<int>(utf16.size()), &len, chars.data(),
                   static_cast<int>(chars.size()), &err);
    UBreakIterator* const iter = ubrk_open(UBRK_LINE, "en", nullptr, 0, &err);
    for (auto _ : state) {
        ubrk_setText(iter, utf16.data(), len, &err);
        long nbr = 0;
        for (ubrk_first(iter); ubrk_next(iter) != UBRK_DONE;) {
            ++nbr;
        }
        benchmark::DoNotOptimize(nbr);
    }
    ubrk_close(iter);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(chars.size()));
}
BENCHMARK(run_lines_icu)->Name("lines/ICU")->Apply(add_texts);
#endif
#ifdef HAS_UNISTRING
void run_lines_unistring(benchmark::State& state) {
    std::vector<Char> const chars = decode(use_text(state));
    std::vector<std::uint32_t> text(chars.begin(), chars.end());
    std::vector<char> breaks(text.size());
    for (auto _ : state) {
        u32_possible_linebreaks(text.data(), text.size(), "UTF-8", breaks.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(chars.size()));
}
BENCHMARK(run_lines_unistring)->Name("lines/libunistring")->Apply(add_texts);
#endif

} // namespace
