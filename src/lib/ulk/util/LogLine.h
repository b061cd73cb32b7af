#pragma once

namespace ulk::util {

// A line that waits in the ring of LogMgr: a slot with room for its texts.
class LogLine {
public:
    static constexpr long TEXT_LEN_MAX = 1023;

    LogLine() = default;
    virtual ~LogLine() = default;

    // real-time. Copies at most TEXT_LEN_MAX characters of each text.
    void set_log(long order, double date, char const* msg, char const* scope, long line);

    char const* get_scope() const { return _scope; }
    char const* get_msg() const { return _msg; }
    double get_date() const { return _date; } // seconds since the log manager was built; -1 unset
    long get_order() const { return _order; } // -1 unset
    long get_line() const { return _line; }   // -1 unset

private:
    char _scope[TEXT_LEN_MAX + 1] = "";
    char _msg[TEXT_LEN_MAX + 1] = "";
    double _date = -1;
    long _order = -1;
    long _line = -1;
};

} // namespace ulk::util
