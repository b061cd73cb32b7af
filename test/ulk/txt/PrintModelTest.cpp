// Random formats and arguments against the straight model, without a single allocation

#include "support/FormatModel.h"
#include "support/RealTimeGuard.h"
#include "ulk/txt/out/Print.h"
#include "ulk/txt/out/PrintNa.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using test::FormatModel;
using ulk::txt::out::Print;
using ulk::txt::out::PrintInterface;
using ulk::txt::out::PrintNa;

namespace {

class Source {
public:
    explicit Source(unsigned seed)
        : _rnd(seed) {}

    std::uint64_t draw(std::uint64_t count) { return _rnd() % count; }

    std::string make_value() {
        switch (draw(12)) {
        case 0:
            return "!";
        case 1:
            return "$" + std::to_string(draw(6));
        case 2:
            return "$!";
        case 3:
            return "";
        case 4:
            return std::to_string(draw(70));
        default:
            return std::to_string(draw(16));
        }
    }

    std::string make_options() {
        constexpr char flags[] = "+-bBdDxXckllrrfovtegFVT !$z";
        std::string txt;
        for (auto nbr = draw(6); nbr > 0; --nbr) {
            switch (draw(8)) {
            case 0:
                txt += "m" + make_value();
                break;
            case 1:
                txt += "p" + make_value();
                break;
            case 2:
                txt += "s" + std::to_string(draw(5));
                break;
            case 3:
                txt += (draw(2) == 0 ? "e" : "g") + make_value();
                break;
            case 4:
                txt += std::string("w") + "0 *ab0"[draw(6)];
                break;
            default:
                txt += flags[draw(sizeof(flags) - 1)];
                break;
            }
        }
        return txt;
    }

    std::string make_format() {
        std::string txt;
        for (auto nbr = draw(4) + 1; nbr > 0; --nbr) {
            auto const kind = draw(60);
            txt += kind < 4 ? "text " : kind < 6 ? "%%" : kind == 6 ? "%z" : kind == 7 ? "%" : "";
            txt += '%';
            txt += std::to_string(kind == 8 ? draw(70) : draw(3) + 1) + make_options() + "%";
        }
        return txt;
    }

    double make_float() {
        double val = 0;
        switch (draw(8)) {
        case 0:
            val = std::bit_cast<double>(_rnd());
            break;
        case 1:
            val = double(std::int64_t(_rnd())) / 1000;
            break;
        case 2:
            val = double(draw(2000)) / 8 - 100;
            break;
        case 3:
            val = double(draw(20000)) / 100;
            break;
        case 4:
            val = std::pow(10.0, double(draw(30)) - 15) * (1 - double(draw(3)) * 1e-7);
            break;
        case 5:
            val = std::bit_cast<double>(_rnd() >> 12 >> draw(52));
            break;
        case 6:
            val = std::ldexp(double(draw(1000)), int(draw(80)) - 40);
            break;
        default:
            val = -double(draw(1000000)) / 1e9;
            break;
        }
        return val;
    }

    FormatModel::Arg make_arg() {
        FormatModel::Arg arg;
        for (long& param : arg.param_arr) {
            param = long(draw(14)) - 2;
        }
        switch (draw(5)) {
        case 0:
            arg.val = std::string("aBc DeF gh").substr(draw(10));
            break;
        case 1:
            arg.val = std::int64_t(_rnd()) >> draw(64);
            break;
        default:
            arg.val = make_float();
            break;
        }
        return arg;
    }

private:
    std::mt19937_64 _rnd;
};

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

std::string describe(std::string const& format, std::vector<FormatModel::Arg> const& args) {
    std::string txt = format;
    for (auto const& arg : args) {
        if (auto const* const val = std::get_if<double>(&arg.val)) {
            char buf[64];
            std::snprintf(buf, sizeof(buf), " | %.17g", *val);
            txt += buf;
        } else if (auto const* const num = std::get_if<std::int64_t>(&arg.val)) {
            txt.append(" | ").append(std::to_string(*num));
        } else {
            txt += " | " + std::get<std::string>(arg.val);
        }
        for (long const param : arg.param_arr) {
            txt.append(1, ',').append(std::to_string(param));
        }
    }
    return txt;
}

} // namespace

TEST(PrintModelTest, RandomFormatsAndArguments) {
    char const* const count = std::getenv("TESSITONE_TEST_COUNT");
    Source source(1);
    for (long i = count != nullptr ? std::atol(count) : 200000; i > 0; --i) {
        auto const format = source.make_format();
        std::vector<FormatModel::Arg> const args = {source.make_arg(), source.make_arg(),
                                                    source.make_arg()};
        std::string expected;
        bool throw_flag = false;
        try {
            expected = FormatModel::print(format, args);
        } catch (std::runtime_error const&) {
            throw_flag = true;
        }
        Print print;
        print.print(format.c_str());
        if (throw_flag) {
            ASSERT_THROW(pass_args(print, args), std::runtime_error) << describe(format, args);
            continue;
        }
        ASSERT_NO_THROW(pass_args(print, args)) << describe(format, args);
        ASSERT_EQ(expected, static_cast<std::string const&>(print)) << describe(format, args);
        ASSERT_EQ(static_cast<long>(expected.size()), print.get_string_len());
    }
}

TEST(PrintModelTest, AnyBufferLength) {
    Source source(2);
    for (int i = 0; i < 3000; ++i) {
        auto const format = source.make_format();
        std::vector<FormatModel::Arg> args = {source.make_arg(), source.make_arg(),
                                              source.make_arg()};
        for (auto& arg : args) {
            if (auto* const val = std::get_if<double>(&arg.val); val && !std::isfinite(*val)) {
                *val = 0;
            }
        }
        auto const expected = FormatModel::print(format, args);
        for (std::size_t len = 0; len < 24; ++len) {
            std::string buf(len + 3, '\x7F');
            PrintNa print(buf.data() + 1, static_cast<long>(len));
            print.print(format.c_str());
            pass_args(print, args);
            ASSERT_EQ('\x7F', buf.front());
            ASSERT_EQ('\x7F', buf.back());
            auto const shown = expected.substr(0, len);
            if (print.get_string_len() > 0) {
                ASSERT_EQ(shown, buf.c_str() + 1) << describe(format, args);
            }
            ASSERT_EQ(static_cast<long>(expected.size()), print.get_string_len());
            ASSERT_EQ(expected.size() > len, print.is_truncated());
        }
    }
}

TEST(PrintNaTest, AllocatesNothing) {
    Source source(3);
    char buf[256];
    PrintNa print(buf, 255);
    for (int i = 0; i < 20000; ++i) {
        auto const format = source.make_format();
        std::vector<FormatModel::Arg> args = {source.make_arg(), source.make_arg(),
                                              source.make_arg()};
        for (auto& arg : args) {
            if (auto* const val = std::get_if<double>(&arg.val); val && !std::isfinite(*val)) {
                *val = 1e300;
            }
        }
        test::RealTimeGuard guard;
        print.print(format.c_str());
        pass_args(print, args);
        ASSERT_EQ("", guard.stop()) << describe(format, args);
    }
}
