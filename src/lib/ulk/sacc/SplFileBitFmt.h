#pragma once

namespace ulk::sacc {

// How one sample is coded in a file; -1 means none. Integers are signed and little-endian, but for
// the 8-bit one, which is unsigned with its zero at 128.
enum SplFileBitFmt : int {
    SplFileBitFmt_U8 = 0,
    SplFileBitFmt_S16 = 1,
    SplFileBitFmt_S24 = 2, // 3 bytes
    SplFileBitFmt_S32 = 3,
    SplFileBitFmt_F32 = 4, // IEEE 754 single precision

    SplFileBitFmt_NBR_ELT = 5
};

} // namespace ulk::sacc
