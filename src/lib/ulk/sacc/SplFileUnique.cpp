#include "ulk/sacc/SplFileUnique.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileFmtMgr.h"
#include "ulk/sacc/SplFileFmtTools.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

namespace {

constexpr long creation_flags =
    sys::File::Flag_READ | sys::File::Flag_WRITE | sys::File::Flag_CREATE | sys::File::Flag_ERASE;

} // namespace

SplFileUnique::~SplFileUnique() {
    if (!is_open()) {
        return;
    }
    try {
        ULK_LOG(WARNING, "dtor(): File is still open.");
        close();
    } catch (...) {
        ULK_LOG(ERROR, "dtor(): Exception.");
    }
}

int SplFileUnique::open(char const* pathname, SplFileFmtMgr& fmt_mgr, bool read_fallback) {
    int ret_val = _file.open(pathname, sys::File::Flag_WRITE);
    if (ret_val != 0 && read_fallback) {
        ret_val = _file.open(pathname, sys::File::Flag_READ);
    }
    return clear_on_error(ret_val == 0 ? identify(fmt_mgr) : ret_val);
}

int SplFileUnique::create_new(char const* pathname, SplFileFmtMgr& fmt_mgr,
                              SplFileFmtDesc const& desc, archi::Int64 len) {
    int ret_val = _file.open(pathname, creation_flags);
    if (ret_val == 0) {
        ret_val = fmt_mgr.create_format(_fmt_ptr, desc.get_file_fmt());
    }
    if (ret_val == 0) {
        ret_val = _fmt_ptr->create_from_scratch(_file, desc.get_nbr_chn(), desc.get_bit_fmt(),
                                                desc.get_sample_freq(), len);
    }
    return clear_on_error(ret_val);
}

int SplFileUnique::create_copy(char const* pathname, SplFileFmtMgr& fmt_mgr,
                               SplFileExtData const& ext_data) {
    int ret_val = _file.open(pathname, creation_flags);
    if (ret_val == 0) {
        ret_val = SplFileFmtTools::write_parts(_file, ext_data);
    }
    return clear_on_error(ret_val == 0 ? identify(fmt_mgr) : ret_val);
}

int SplFileUnique::close() {
    int ret_val = 0;
    if (_fmt_ptr.get() != nullptr && _fmt_ptr->is_file_being_created()) {
        ret_val = _fmt_ptr->validate_new_data(_file);
    }
    int const clear_ret_val = clear();
    return ret_val != 0 ? ret_val : clear_ret_val;
}

int SplFileUnique::clear() {
    if (!is_open()) {
        return 0;
    }
    if (_fmt_ptr.get() != nullptr) {
        if (_fmt_ptr->is_file_valid()) {
            _fmt_ptr->close();
        }
        _fmt_ptr = mem::SharedPtr<SplFileFmtInterface>();
    }
    return _file.close();
}

int SplFileUnique::validate_new_data() {
    return _fmt_ptr->validate_new_data(_file);
}

int SplFileUnique::read_block(float* dst, archi::Int64 pos, long len) {
    if (!is_in_file(pos, len)) {
        ULK_LOG(ERROR,
                "read_block(): trying to read data past the end of file (pos = %1%, size = %2%, "
                "file len = %3%)",
                pos, len, get_length());
        return Err_OUT_OF_RANGE;
    }
    return _fmt_ptr->read_data(_file, dst, pos, len);
}

int SplFileUnique::write_block(float const* src, archi::Int64 pos, long len) {
    bool const growing_flag = !is_len_fixed() && pos >= 0 && len >= 0;
    if (!growing_flag && !is_in_file(pos, len)) {
        ULK_LOG(ERROR,
                "write_block(): trying to write data past the end of file (pos = %1%, size = %2%, "
                "file len = %3%)",
                pos, len, get_length());
        return Err_OUT_OF_RANGE;
    }
    return _fmt_ptr->write_data(_file, src, pos, len);
}

int SplFileUnique::read_ext_data(SplFileExtData& ext_data) {
    return _fmt_ptr->read_extra_data(_file, ext_data);
}

int SplFileUnique::get_dates(sys::UtcTime& creation, sys::UtcTime& modification) const {
    int const ret_val = _file.get_creation_date(creation);
    return ret_val == 0 ? _file.get_modification_date(modification) : ret_val;
}

int SplFileUnique::set_dates(sys::UtcTime const& creation, sys::UtcTime const& modification) {
    int const ret_val = _file.set_creation_date(creation);
    return ret_val == 0 ? _file.set_modification_date(modification) : ret_val;
}

// What stands before the first frame is not of the file's data either.
bool SplFileUnique::is_in_file(archi::Int64 pos, long len) const {
    return pos >= 0 && len >= 0 && pos <= get_length() - len;
}

int SplFileUnique::identify(SplFileFmtMgr& fmt_mgr) {
    int const ret_val = SplFileFmtTools::detect_format(_file, _fmt_ptr, fmt_mgr);
    return ret_val == 0 ? _fmt_ptr->read_format_info(_file) : ret_val;
}

int SplFileUnique::clear_on_error(int ret_val) {
    if (ret_val != 0) {
        clear();
    }
    return ret_val;
}

} // namespace ulk::sacc
