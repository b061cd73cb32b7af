#pragma once

#include <memory>

namespace ulk::sys::posix {
class FileNode;
}

namespace ulk::sys {

// The platform's reference to a file or directory. Never null in a FileRef.
using FSRef = std::shared_ptr<posix::FileNode const>;

} // namespace ulk::sys
