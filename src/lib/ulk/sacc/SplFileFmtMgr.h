#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileFmtInterface.h"

#include <map>

namespace ulk::sys {
class File;
}

namespace ulk::sacc {

class SplFileFmtFactoryInterface;

// The registry of format factories, which it does not own. No locks.
class SplFileFmtMgr {
public:
    virtual ~SplFileFmtMgr() = default;

    // The factory is in force after the call also when the number was taken, which gives
    // Err_FACTORY_REGISTERED; not after Err_EXCEPTION. It has to outlive its registration.
    int register_format_factory(int fmt, SplFileFmtFactoryInterface& factory);
    int unregister_format_factory(int fmt); // 0 or Err_FACTORY_NOT_REGISTERED

    // Asks the factories by ascending number; the first that knows the file or fails ends it. fmt
    // is -1 with Err_FORMAT_UNKNOWN, when none knows it. header: the first 512 bytes of the file.
    int detect_format(sys::File& file, int& fmt, archi::UByte const* header);

    // Err_FORMAT_UNKNOWN if the number is not registered, else the factory's result.
    int create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr, int fmt);

private:
    std::map<int, SplFileFmtFactoryInterface*> _factory_map;
};

} // namespace ulk::sacc
