#pragma once

namespace ulk::txt::out {

// Takes runs of characters at once, for devices that know a faster way than character by
// character. A len of 0 or less is an empty run.
class RunSink {
public:
    virtual void print_text(char const* txt, long len) = 0;
    virtual void print_fill(char c, long len) = 0;

protected:
    ~RunSink() = default;
};

} // namespace ulk::txt::out
