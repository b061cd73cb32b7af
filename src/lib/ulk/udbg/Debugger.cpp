#include "ulk/udbg/Debugger.h"

namespace ulk::udbg {

namespace {

struct Row {
    char const* txt;
    int priority;
};

constexpr Row row_arr[Debugger::Level_NBR_ELT] = {
    {"", -1}, {"PANIC", 0}, {"ERROR", 3}, {"WARNING", 4}, {"INFO", 6}, {"DEBUG", 7}, {"ASSERT", 7}};
constexpr Row row_other = {"OOPS", -1};

Row const& find_row(Debugger::Level level) {
    return level >= 0 && level < Debugger::Level_NBR_ELT ? row_arr[level] : row_other;
}

} // namespace

char const* Debugger::get_level_txt(Level level) {
    return find_row(level).txt;
}

int Debugger::get_syslog_priority(Level level) {
    return find_row(level).priority;
}

} // namespace ulk::udbg
