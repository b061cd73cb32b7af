#pragma once

namespace ulk::sacc {

// Identifier of a file in the cache, from 1 upward; never used again after the file was closed.
using SplCacheFileId = long;

} // namespace ulk::sacc
