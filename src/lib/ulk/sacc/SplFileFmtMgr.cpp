#include "ulk/sacc/SplFileFmtMgr.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileFmtFactoryInterface.h"

namespace ulk::sacc {

int SplFileFmtMgr::register_format_factory(int fmt, SplFileFmtFactoryInterface& factory) {
    try {
        auto const [it, new_flag] = _factory_map.insert_or_assign(fmt, &factory);
        return new_flag ? 0 : Err_FACTORY_REGISTERED;
    } catch (...) {
        return Err_EXCEPTION;
    }
}

int SplFileFmtMgr::unregister_format_factory(int fmt) {
    return _factory_map.erase(fmt) > 0 ? 0 : Err_FACTORY_NOT_REGISTERED;
}

int SplFileFmtMgr::detect_format(sys::File& file, int& fmt, archi::UByte const* header) {
    fmt = -1;
    for (auto const& entry : _factory_map) {
        int const ret_val = entry.second->detect_format(file, fmt, header);
        if (ret_val != 0 || fmt != -1) {
            return ret_val;
        }
    }
    return Err_FORMAT_UNKNOWN;
}

int SplFileFmtMgr::create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr, int fmt) {
    auto const it = _factory_map.find(fmt);
    return it == _factory_map.end() ? Err_FORMAT_UNKNOWN : it->second->create_format(fmt_ptr);
}

} // namespace ulk::sacc
