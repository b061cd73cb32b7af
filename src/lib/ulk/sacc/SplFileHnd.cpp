#include "ulk/sacc/SplFileHnd.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sacc/SplFileMgrImpl.h"
#include "ulk/udbg/log.h"

#include <utility>

namespace ulk::sacc {

SplFileHnd::~SplFileHnd() {
    if (is_open()) {
        ULK_LOG(ERROR, "dtor(): file is still open. Auto-closing.\n");
        close();
    }
}

int SplFileHnd::open(SplFileMgr& file_mgr, char const* pathname, bool write_flag) {
    return attach(file_mgr, write_flag, false,
                  [&](SplFileMgrImpl& impl) { return impl.open(*this, pathname, write_flag); });
}

int SplFileHnd::create_new(SplFileMgr& file_mgr, char const* pathname, SplFileFmtDesc const& desc,
                           archi::Int64 len) {
    return attach(file_mgr, true, true, [&](SplFileMgrImpl& impl) {
        return impl.create_new(*this, pathname, desc, len);
    });
}

int SplFileHnd::create_copy(SplFileMgr& file_mgr, char const* pathname,
                            SplFileExtData const& ext_data) {
    return attach(file_mgr, true, false, [&](SplFileMgrImpl& impl) {
        return impl.create_copy(*this, pathname, ext_data);
    });
}

int SplFileHnd::close() {
    if (!is_open()) {
        return SplFileMgrImpl::report_unknown_handle(*this);
    }
    return std::exchange(_impl_ptr, nullptr)->close(*this);
}

int SplFileHnd::validate_new_data() {
    return use_impl("validate_new_data").validate_new_data(*this);
}

archi::Int64 SplFileHnd::get_length() const {
    return use_impl("get_length").get_length(*this);
}

int SplFileHnd::get_nbr_chn() const {
    return use_impl("get_nbr_chn").get_nbr_chn(*this);
}

double SplFileHnd::get_sample_freq() const {
    return use_impl("get_sample_freq").get_sample_freq(*this);
}

SplFileBitFmt SplFileHnd::get_sample_format() const {
    return use_impl("get_sample_format").get_sample_format(*this);
}

SplFileFmt SplFileHnd::get_file_format() const {
    return use_impl("get_sample_format").get_file_format(*this);
}

SplFileFmtCustomInterface* SplFileHnd::get_data_provider() {
    return use_impl("get_data_provider").get_data_provider(*this);
}

bool SplFileHnd::can_be_read() const {
    return use_impl("can_be_read").can_be_read(*this);
}

int SplFileHnd::read_block(float* dst, archi::Int64 pos, long len) {
    return use_impl("read_block").read_block(*this, dst, pos, len);
}

int SplFileHnd::write_block(float const* src, archi::Int64 pos, long len) {
    return use_impl("write_block").write_block(*this, src, pos, len);
}

int SplFileHnd::read_ext_data(SplFileExtData& ext_data) {
    return use_impl("read_ext_data").read_ext_data(*this, ext_data);
}

int SplFileHnd::get_dates(sys::UtcTime& creation, sys::UtcTime& modification) const {
    return use_impl("get_dates").get_dates(*this, creation, modification);
}

int SplFileHnd::set_dates(sys::UtcTime const& creation, sys::UtcTime const& modification) {
    return use_impl("set_dates").set_dates(*this, creation, modification);
}

// Opens by open_fnc. A handle that has a file keeps it: it would be left open for good.
template <class F>
int SplFileHnd::attach(SplFileMgr& file_mgr, bool write_flag, bool creation_flag,
                       F const& open_fnc) {
    if (is_open()) {
        ULK_LOG(ERROR, "attach(): handle has a file already.");
        return Err_FILE_ALREADY_OPEN;
    }
    int const ret_val = open_fnc(file_mgr.use_impl());
    if (ret_val == 0) {
        _impl_ptr = &file_mgr.use_impl();
        _write_flag = write_flag;
        _creation_flag = creation_flag;
    }
    return ret_val;
}

SplFileMgrImpl& SplFileHnd::use_impl(char const* name) const {
    if (!is_open()) {
        SplFileMgrImpl::refuse_handle(*this, name);
    }
    return *_impl_ptr;
}

} // namespace ulk::sacc
