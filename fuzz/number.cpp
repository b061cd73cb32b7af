// A number that is printed with all its digits reads back as itself, in base 10 and 16; its digits
// are those of the exact model. The first byte chooses the base, the next eight are the value.

#include "../test/support/ExactDigits.h"
#include "ulk/math/ShortDigits.h"
#include "ulk/txt/out/Print.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

void check(bool cond) {
    if (!cond) {
        std::abort();
    }
}

std::string print(char const* format, double val) {
    ulk::txt::out::Print print;
    print.print(format).arg(val);
    return print;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    double val = 0;
    if (size < 1 + sizeof(val)) {
        return 0;
    }
    std::memcpy(&val, data + 1, sizeof(val));
    val = std::fabs(val);
    if (!std::isfinite(val) || val == 0) {
        return 0;
    }
    constexpr int base_arr[] = {2, 10, 16};
    int const base = base_arr[data[0] % 3];
    ulk::math::ShortDigits digits;
    digits.set(val, base);
    auto const exact = test::ExactDigits::find(val, base);
    check(exact.exp == digits.get_exp());
    check(exact.digits == std::string(digits.get_digits(), std::size_t(digits.get_len())));

    // Bounds are symmetric: next to a power of two the closer neighbour may be named.
    int exp2 = 0;
    bool const pow2_flag = std::has_single_bit(test::ExactDigits::split(val, exp2));
    double const back = std::strtod(print("%1etp20%", val).c_str(), nullptr);
    check(back == val || (pow2_flag && back == std::nextafter(val, 0.0)));
    if (val >= 1e-200 && val <= 1e200) {
        check(std::strtod(("0x" + print("%1xftp300%", val)).c_str(), nullptr) == val);
    }
    return 0;
}
