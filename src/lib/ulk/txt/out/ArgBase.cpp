#include "ulk/txt/out/ArgBase.h"

#include <algorithm>

namespace ulk::txt::out {

void ArgBase::print_not_displayable() {
    bool const field_flag =
        _fmt.has_max_len() && _fmt.get_justify_mode() != FmtInfo::JustifyMode_LEFT_NO_PAD;
    _dev.print_fill('#', field_flag ? _fmt.get_max_len() : std::min(_fmt.get_max_len(), 1L));
}

} // namespace ulk::txt::out
