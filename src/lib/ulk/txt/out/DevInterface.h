#pragma once

namespace ulk::txt::out {

// Sink of characters, between a print_begin () and a print_end () for each text or piece of one.
// A device that does not allocate is fit for the real-time thread.
class DevInterface {
public:
    virtual ~DevInterface() = default;

    virtual void print_begin() = 0;
    virtual void print_char(char c) = 0;
    virtual void print_end() = 0;

    // Runs of characters, len of 0 or less being none. They stand for as many print_char (),
    // which is what they do unless a device knows a faster way.
    virtual void print_text(char const* txt, long len);
    virtual void print_fill(char c, long len);
};

} // namespace ulk::txt::out
