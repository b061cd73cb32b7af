// The text form of dates: any 24 bytes are read or refused as a model says, and what was read
// comes back from its own print.

#include "ulk/util/Date.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using ulk::util::Date;

namespace {

void require(bool flag) {
    if (!flag) {
        std::abort();
    }
}

int get_number(std::string const& txt, size_t pos, size_t len) {
    int val = 0;
    for (size_t i = 0; i < len; ++i) {
        val = val * 10 + static_cast<signed char>(txt[pos + i]) - 48;
    }
    return val;
}

// By the column, from the last check to the first.
bool is_valid(std::string const& txt) {
    static std::string const months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    int const year = get_number(txt, 20, 4);
    auto const pos = months.find(txt.substr(4, 3));
    if (pos == std::string::npos || pos % 3 != 0) {
        return false;
    }
    size_t const month = pos / 3;
    bool const leap_flag = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    int const nbr_days = month == 1 ? (leap_flag ? 29 : 28)
                         : month == 3 || month == 5 || month == 8 || month == 10 ? 30
                                                                                 : 31;
    int const day = get_number(txt, 8, 2);
    int const second = get_number(txt, 17, 2);
    return second >= 0 && second <= 59 && get_number(txt, 14, 2) < 60 &&
           get_number(txt, 11, 2) <= 23 && day >= 1 && day <= nbr_days && year >= -10000 &&
           year <= 10000;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    std::string txt(reinterpret_cast<char const*>(data), size);
    txt.resize(24, '0');
    Date date;
    int const result = date.set(txt.c_str());
    require(result == (is_valid(txt) ? 0 : -3995));
    char printed[26];
    std::memset(printed, 'x', sizeof(printed));
    date.print(printed);
    require(std::strlen(printed) == 24 && printed[25] == 'x');
    if (result == 0 && date.get_year() >= 0 && date.get_year() <= 9999 && date.get_hour() >= 0 &&
        date.get_minute() >= 0) {
        Date back;
        require(back.set(printed) == 0);
        require(back.compute_duration_since(date) == 0 && back.get_year() == date.get_year());
        char again[25];
        back.print(again);
        require(std::strcmp(printed, again) == 0);
    }
    return 0;
}
