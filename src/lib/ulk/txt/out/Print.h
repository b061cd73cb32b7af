#pragma once

#include "ulk/txt/out/PrintInterface.h"
#include "ulk/txt/out/RunSink.h"

#include <string>

namespace ulk::txt::out {

// Formatter over a string of its own. Allocates: not for the real-time thread.
class Print final : public PrintInterface, private RunSink {
public:
    Print()
        : PrintInterface(static_cast<RunSink&>(*this)) {}

    // The text, up to the next change
    operator std::string const&() const { return _txt; }

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

    std::string _txt;
};

} // namespace ulk::txt::out
