#pragma once

#include <string>
#include <vector>

namespace test {

// The texts of the error lines logged while one lives; lines outside of any are dropped, so that
// no test of this program writes to the user's log.
class LogLines {
public:
    LogLines();
    ~LogLines();

    LogLines(LogLines const&) = delete;
    LogLines& operator=(LogLines const&) = delete;

    std::vector<std::string> const& get() const { return _list; }

private:
    static int take(int cmd, void* data);
    static LogLines* _current;

    friend struct LogSink;

    std::vector<std::string> _list;
};

} // namespace test
