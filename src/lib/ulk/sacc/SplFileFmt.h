#pragma once

namespace ulk::sacc {

// Formats of sample files; -1 means none. The number is the one that a factory registers under.
enum SplFileFmt : int { SplFileFmt_WAV = 0 };

} // namespace ulk::sacc
