#include "ulk/txt/out/DevInterface.h"

namespace ulk::txt::out {

void DevInterface::print_text(char const* txt, long len) {
    for (long i = 0; i < len; ++i) {
        print_char(txt[i]);
    }
}

void DevInterface::print_fill(char c, long len) {
    for (long i = 0; i < len; ++i) {
        print_char(c);
    }
}

} // namespace ulk::txt::out
