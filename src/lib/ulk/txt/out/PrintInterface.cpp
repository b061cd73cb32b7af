#include "ulk/txt/out/PrintInterface.h"

#include "ulk/math/DecText.h"
#include "ulk/txt/out/ArgFloat.h"
#include "ulk/txt/out/ArgInt.h"
#include "ulk/txt/out/ArgString.h"
#include "ulk/txt/out/Ascii.h"
#include "ulk/txt/out/FmtInfo.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>

namespace ulk::txt::out {

namespace {

// The next "%", or the end of the text
char const* find_percent(char const* txt) {
    return *txt == '%' || *txt == '\0' ? txt : txt + std::strcspn(txt, "%");
}

} // namespace

PrintInterface& PrintInterface::print(char const* format) {
    reset();
    set_format(format);
    return *this;
}

PrintInterface& PrintInterface::cat(char const* format) {
    _nbr_received = 0;
    _append_flag = true;
    set_format(format);
    return *this;
}

PrintInterface& PrintInterface::arg(void const* ptr, long p1, long p2, long p3, long p4) {
    return push_int(static_cast<archi::Int64>(reinterpret_cast<std::uintptr_t>(ptr)), p1, p2, p3,
                    p4);
}

void PrintInterface::reset() {
    _format = nullptr;
    _nbr_needed = 0;
    _nbr_received = 0;
    _append_flag = false;
    _started_flag = false;
    do_reset();
}

bool PrintInterface::is_truncated() const {
    return do_is_truncated();
}

long PrintInterface::get_string_len() const {
    return do_get_string_len();
}

void PrintInterface::set_format(char const* format) {
    _first_percent = format != nullptr ? find_percent(format) : nullptr;
    int const nbr_arg = format != nullptr ? find_nbr_arg(_first_percent) : -1;
    if (nbr_arg < 0 || nbr_arg > MAX_NBR_ARG) {
        reset();
        return;
    }
    _format = format;
    _nbr_needed = nbr_arg;
    complete();
}

// The text is closed also when an argument throws, so that a buffer never lacks its terminator.
void PrintInterface::write_all() {
    if (!_started_flag || !_append_flag) {
        print_begin();
        _started_flag = true;
    }
    try {
        write_format();
    } catch (...) {
        print_end();
        throw;
    }
    print_end();
}

void PrintInterface::write_format() {
    char const* cur = _format;
    char const* pct = _first_percent;
    for (;;) {
        print_text(cur, pct - cur);
        if (*pct == '\0') {
            return;
        }
        Reference ref;
        cur = parse_reference(pct, ref);
        pct = find_percent(cur);
        if (ref.number > 0) {
            write_arg(_arg_arr[ref.number - 1], ref.txt, ref.len);
        } else if (ref.number < 0) {
            print_text(ref.txt, ref.len);
        }
    }
}

void PrintInterface::write_arg(ArgInfo const& info, char const* opt, long opt_len) {
    if (opt_len == 0 && info.type == Type_INT) {
        write_plain_int(info.val_int);
        return;
    }
    FmtInfo fmt;
    if (fmt.parse_options(opt, opt_len, info.param_arr, 4) != 0) {
        return;
    }
    switch (info.type) {
    case Type_INT:
        ArgInt(*this, fmt, info.val_int).print();
        break;
    case Type_FLOAT:
        ArgFloat(*this, fmt, info.val_float).print();
        break;
    case Type_STRING:
        ArgString(*this, fmt, static_cast<char const*>(info.ptr)).print();
        break;
    case Type_TYPE_NAME:
        write_type_name(*static_cast<std::type_info const*>(info.ptr), fmt);
        break;
    }
}

// What ArgInt gives without options, at a fraction of the time: most log lines are made of these.
void PrintInterface::write_plain_int(archi::Int64 val) {
    char txt[1 + math::DecText::MAX_LEN];
    char* const end = txt + sizeof(txt);
    auto const bits = static_cast<archi::UInt64>(val);
    char* cur = math::DecText::write_back(end, val < 0 ? 0 - bits : bits);
    if (val < 0) {
        *--cur = '-';
    }
    print_text(cur, end - cur);
}

// The runtime's demangler only writes to memory of its own.
void PrintInterface::write_type_name(std::type_info const& type, FmtInfo const& fmt) {
    constexpr std::size_t max_len = 8191;
    char txt[max_len + 1];
    char* const name = abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr);
    std::size_t const len = name != nullptr ? std::strlen(name) : max_len + 1;
    if (len <= max_len) {
        std::memcpy(txt, name, len + 1);
    }
    std::free(name);
    ArgString(*this, fmt, len <= max_len ? txt : type.name()).print();
}

// Highest number from the first "%" on, or -1 if the format ends inside a reference
int PrintInterface::find_nbr_arg(char const* pct) {
    int highest = 0;
    while (*pct != '\0') {
        Reference ref;
        char const* const end = parse_reference(pct, ref);
        if (end == nullptr) {
            return -1;
        }
        highest = std::max(highest, ref.number);
        pct = find_percent(end);
    }
    return highest;
}

// Gives the end of what begins at the "%", or null if the format stops inside.
char const* PrintInterface::parse_reference(char const* pct, Reference& ref) {
    char const* cur = pct + 1;
    if (!Ascii::is_digit(*cur)) {
        char const* const beg = *cur == '%' ? cur : pct;
        ref = {-1, beg, cur + 1 - beg};
        return *cur != '\0' ? cur + 1 : nullptr;
    }
    int number = 0;
    for (; Ascii::is_digit(*cur); ++cur) {
        number = std::min(number * 10 + (*cur - '0'), MAX_NBR_ARG + 1);
    }
    char const* const end = find_percent(cur);
    ref = {number, cur, end - cur};
    return *end != '\0' ? end + 1 : nullptr;
}

} // namespace ulk::txt::out
