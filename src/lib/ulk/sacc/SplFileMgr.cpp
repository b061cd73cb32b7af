#include "ulk/sacc/SplFileMgr.h"

#include "ulk/sacc/SplFileMgrImpl.h"

namespace ulk::sacc {

SplFileMgr::SplFileMgr(sys::Mutex& mutex)
    : _impl_uptr(std::make_unique<SplFileMgrImpl>(mutex)) {}

SplFileMgr::~SplFileMgr() = default;

sys::Mutex& SplFileMgr::use_mutex() {
    return _impl_uptr->use_mutex();
}

int SplFileMgr::register_format_factory(int fmt, SplFileFmtFactoryInterface& factory) {
    return _impl_uptr->register_format_factory(fmt, factory);
}

int SplFileMgr::unregister_format_factory(int fmt) {
    return _impl_uptr->unregister_format_factory(fmt);
}

} // namespace ulk::sacc
