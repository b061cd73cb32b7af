#include "ulk/txt/out/DevInterface.h"

#include "ulk/txt/out/RunSink.h"

namespace ulk::txt::out {

void DevInterface::print_text(char const* txt, long len) {
    if (_sink_ptr != nullptr) {
        _sink_ptr->print_text(txt, len);
        return;
    }
    for (long i = 0; i < len; ++i) {
        print_char(txt[i]);
    }
}

void DevInterface::print_fill(char c, long len) {
    if (_sink_ptr != nullptr) {
        _sink_ptr->print_fill(c, len);
        return;
    }
    for (long i = 0; i < len; ++i) {
        print_char(c);
    }
}

} // namespace ulk::txt::out
