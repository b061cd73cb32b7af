#include "ulk/util/LogLine.h"

#include <cstring>

namespace ulk::util {

namespace {

// By length: padding to the end of the area would cost more than all the rest of a line.
template <std::size_t SIZE>
void copy_text(char (&dst)[SIZE], char const* src) {
    std::size_t const len = strnlen(src, SIZE - 1);
    std::memcpy(dst, src, len);
    dst[len] = '\0';
}

} // namespace

void LogLine::set_log(long order, double date, char const* msg, char const* scope, long line) {
    copy_text(_scope, scope);
    copy_text(_msg, msg);
    _date = date;
    _order = order;
    _line = line;
}

} // namespace ulk::util
