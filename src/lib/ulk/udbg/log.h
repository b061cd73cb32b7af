#pragma once

namespace ulk::udbg {

// Placeholder of the log front end: evaluates nothing.
template <class... Args>
void log_statement(Args const&...) {}

} // namespace ulk::udbg

// A log statement. Level is ERROR, WARNING or INFO; up to eight arguments follow the format, which
// is a text of the format language ("%1%", "%2X%"). ULK_LOG may wait for a disk; ULK_LOG_CACHE
// goes through the cached writer and is for code that may run on the real-time thread.
//     ULK_LOG(ERROR, "get_data(): Unknown file id %1%", file_id);
#define ULK_LOG(level, ...) ::ulk::udbg::log_statement(__VA_ARGS__)
#define ULK_LOG_CACHE(level, ...) ::ulk::udbg::log_statement(__VA_ARGS__)
