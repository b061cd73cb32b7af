#pragma once

#include "ulk/txt/out/PrintInterface.h"
#include "ulk/txt/out/RunSink.h"

namespace ulk::txt::out {

// Formatter over a caller's buffer, without allocation ("no alloc"). What does not fit is counted
// and not stored. While arguments are missing, the buffer keeps what it held before.
class PrintNa final : public PrintInterface, private RunSink {
public:
    // The buffer has room for max_len characters and the terminator, max_len being 0 or more; it
    // outlives the object.
    PrintNa(char* buffer, long max_len); // real-time

    void print_begin() override;
    void print_char(char c) override;
    void print_end() override;

protected:
    void do_reset() override;
    bool do_is_truncated() const override;
    long do_get_string_len() const override;

private:
    void print_text(char const* txt, long len) override;
    void print_fill(char c, long len) override;
    long compute_room(long len) const;

    char* _buffer;
    long _max_len;
    long _pos = 0; // goes on beyond the end
};

} // namespace ulk::txt::out
