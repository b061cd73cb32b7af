#pragma once

#include "ulk/archi/types.h"

namespace ulk::txt::unicode {

// A code point; the valid ones are 0 to 0x10FFFF, surrogates among them.
using Char = archi::Int32;

} // namespace ulk::txt::unicode
