// Any format, any arguments, any buffer length: the text is the model's, and nothing is written
// outside the buffer. The first bytes choose the length and the arguments, the rest is the format.

#include "../test/support/FormatModel.h"
#include "ulk/txt/out/Print.h"
#include "ulk/txt/out/PrintNa.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

using test::FormatModel;
using ulk::txt::out::Print;
using ulk::txt::out::PrintInterface;
using ulk::txt::out::PrintNa;

namespace {

constexpr std::size_t head_len = 1 + 8 + 8 + 8 + 4;

// Long fields and runs of decimals are for the tests: they cost time and show nothing new.
bool has_long_number(std::string const& format) {
    int nbr = 0;
    for (char const c : format) {
        nbr = c >= '0' && c <= '9' ? nbr + 1 : c == '$' || c == '!' ? nbr : 0;
        if (nbr > 2) {
            return true;
        }
    }
    return false;
}

void pass_args(PrintInterface& print, std::vector<FormatModel::Arg> const& args) {
    for (auto const& arg : args) {
        auto const& p = arg.param_arr;
        if (auto const* const txt = std::get_if<std::string>(&arg.val)) {
            print.arg(txt->c_str(), p[0], p[1], p[2], p[3]);
        } else if (auto const* const val = std::get_if<double>(&arg.val)) {
            print.arg(*val, p[0], p[1], p[2], p[3]);
        } else {
            print.arg(static_cast<long long>(std::get<std::int64_t>(arg.val)), p[0], p[1], p[2],
                      p[3]);
        }
    }
}

// Gives whether an argument threw.
bool run(PrintInterface& print, std::string const& format,
         std::vector<FormatModel::Arg> const& args) {
    try {
        print.print(format.c_str());
        pass_args(print, args);
        return false;
    } catch (std::runtime_error const&) {
        return true;
    }
}

void check(bool cond) {
    if (!cond) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < head_len) {
        return 0;
    }
    std::string format(reinterpret_cast<char const*>(data) + head_len, size - head_len);
    format = format.c_str();
    if (has_long_number(format)) {
        return 0;
    }
    std::int64_t num = 0;
    double val = 0;
    std::memcpy(&num, data + 1, sizeof(num));
    std::memcpy(&val, data + 9, sizeof(val));
    std::string const txt(reinterpret_cast<char const*>(data) + 17, 8);
    std::vector<FormatModel::Arg> args = {{num, {}}, {val, {}}, {std::string(txt.c_str()), {}}};
    for (auto& arg : args) {
        for (int i = 0; i < 4; ++i) {
            arg.param_arr[i] = static_cast<signed char>(data[25 + i]);
        }
    }

    std::string expected;
    bool throw_flag = false;
    try {
        expected = FormatModel::print(format, args);
    } catch (std::runtime_error const&) {
        throw_flag = true;
    }
    Print print;
    check(run(print, format, args) == throw_flag);
    long const max_len = data[0] % 64;
    // Exactly as long as told: the sanitizer guards both ends.
    auto const buf = std::make_unique<char[]>(static_cast<std::size_t>(max_len) + 1);
    PrintNa print_na(buf.get(), max_len);
    check(run(print_na, format, args) == throw_flag);
    if (!throw_flag) {
        check(expected == static_cast<std::string const&>(print));
        check(print_na.get_string_len() == static_cast<long>(expected.size()));
        check(print_na.is_truncated() == (static_cast<long>(expected.size()) > max_len));
        check(expected.substr(0, static_cast<std::size_t>(max_len)) == buf.get());
    }
    return 0;
}
