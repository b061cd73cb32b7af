#include "LogLines.h"

#include "ulk/udbg/LogMgr.h"

namespace test {

// Takes over logging before any test runs.
struct LogSink {
    LogSink() { ulk::udbg::LogMgr::create_as_plugin("test_ulk_prout", &LogLines::take); }
};

namespace {

LogSink const sink;

} // namespace

LogLines* LogLines::_current = nullptr;

LogLines::LogLines() {
    _current = this;
}

LogLines::~LogLines() {
    _current = nullptr;
}

int LogLines::take(int cmd, void* data) {
    if (cmd == ulk::udbg::LogMgr::CMD_WRITE && _current != nullptr) {
        auto const& record = *static_cast<ulk::udbg::LogMgr::Record const*>(data);
        if (record.level == ulk::udbg::Debugger::Level_ERROR) {
            _current->_list.push_back(record.text);
        }
    }
    return 0;
}

} // namespace test
