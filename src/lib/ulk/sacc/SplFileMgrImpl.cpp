#include "ulk/sacc/SplFileMgrImpl.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/FilesystemSpec.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace ulk::sacc {

namespace {

std::string make_key(char const* pathname) {
    std::string key(pathname);
    sys::FilesystemSpec::use_instance().simplify_path(key);
    return key;
}

auto get_address(SplFileHnd const& hnd) {
    return reinterpret_cast<std::uintptr_t>(&hnd);
}

} // namespace

SplFileMgrImpl::SplFileMgrImpl(sys::Mutex& mutex)
    : _mutex(mutex) {
    if (_fmt_mgr.register_format_factory(SplFileFmt_WAV, _factory_wav) != 0) {
        throw std::runtime_error("ulk::sacc::SplFileMgrImpl::SplFileMgrImpl(): Cannot register "
                                 "the WAV format.");
    }
}

SplFileMgrImpl::~SplFileMgrImpl() {
    for (auto const& entry : _hnd_map) {
        entry.first->_impl_ptr = nullptr;
    }
    if (_file_map.empty()) {
        return;
    }
    try {
        ULK_LOG(WARNING, "dtor(): Warning, remaining open resources: %1% files, %2% handles.",
                _file_map.size(), _hnd_map.size());
        for (auto const& [key, info_ptr] : _file_map) {
            ULK_LOG(INFO, "dtor(): File \"%1%\", %2% handles", key.c_str(),
                    count_file_uses(info_ptr.get()));
        }
    } catch (...) {
        ULK_LOG(ERROR, "dtor(): Exception.");
    }
}

int SplFileMgrImpl::register_format_factory(int fmt, SplFileFmtFactoryInterface& factory) {
    return _fmt_mgr.register_format_factory(fmt, factory);
}

int SplFileMgrImpl::unregister_format_factory(int fmt) {
    return _fmt_mgr.unregister_format_factory(fmt);
}

int SplFileMgrImpl::open(SplFileHnd& hnd, char const* pathname, bool write_flag) {
    try {
        sys::CritSec const lock(_mutex, true);
        return open_no_lock(hnd, pathname, write_flag);
    } catch (...) {
        ULK_LOG(ERROR, "open(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplFileMgrImpl::create_new(SplFileHnd& hnd, char const* pathname, SplFileFmtDesc const& desc,
                               archi::Int64 len) {
    try {
        sys::CritSec const lock(_mutex, true);
        auto const key = make_key(pathname);
        if (_file_map.contains(key)) {
            ULK_LOG(ERROR, "create_new(): file \"%1%\" is already opened.", pathname);
            return Err_FILE_ALREADY_OPEN;
        }
        return add_file(hnd, key, true, [&](SplFileUnique& file) {
            return file.create_new(pathname, _fmt_mgr, desc, len);
        });
    } catch (...) {
        ULK_LOG(ERROR, "create_new(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplFileMgrImpl::create_copy(SplFileHnd& hnd, char const* pathname,
                                SplFileExtData const& ext_data) {
    try {
        sys::CritSec const lock(_mutex, true);
        auto const key = make_key(pathname);
        if (_file_map.contains(key)) {
            ULK_LOG(ERROR, "create_copy(): file \"%1%\" is already opened.", pathname);
            return Err_FILE_ALREADY_OPEN;
        }
        return add_file(hnd, key, false, [&](SplFileUnique& file) {
            return file.create_copy(pathname, _fmt_mgr, ext_data);
        });
    } catch (...) {
        ULK_LOG(ERROR, "create_copy(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplFileMgrImpl::close(SplFileHnd& hnd) {
    sys::CritSec const lock(_mutex, true);
    auto const it = _hnd_map.find(&hnd);
    if (it == _hnd_map.end()) {
        return report_unknown_handle(hnd);
    }
    int ret_val = 0;
    auto* const info_ptr = it->second;
    if (count_file_uses(info_ptr) < 2) {
        ret_val = info_ptr->_file.close();
        _file_map.erase(find_file_for_info(info_ptr));
    }
    _hnd_map.erase(it);
    return ret_val;
}

int SplFileMgrImpl::validate_new_data(SplFileHnd& hnd) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "validate_new_data").validate_new_data();
}

archi::Int64 SplFileMgrImpl::get_length(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_length").get_length();
}

int SplFileMgrImpl::get_nbr_chn(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_nbr_chn").get_nbr_chn();
}

double SplFileMgrImpl::get_sample_freq(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_sample_freq").get_sample_freq();
}

SplFileBitFmt SplFileMgrImpl::get_sample_format(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_sample_format").get_sample_format();
}

// Reports under the name of its neighbour, as logs have always shown it.
SplFileFmt SplFileMgrImpl::get_file_format(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_sample_format").get_file_format();
}

SplFileFmtCustomInterface* SplFileMgrImpl::get_data_provider(SplFileHnd& hnd) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_data_provider").get_data_provider();
}

bool SplFileMgrImpl::can_be_read(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "can_be_read").can_read();
}

bool SplFileMgrImpl::can_be_written(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "can_be_written").can_write();
}

bool SplFileMgrImpl::is_len_fixed(SplFileHnd const& hnd) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "is_len_fixed").is_len_fixed();
}

int SplFileMgrImpl::read_block(SplFileHnd& hnd, float* dst, archi::Int64 pos, long len) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "read_block").read_block(dst, pos, len);
}

int SplFileMgrImpl::write_block(SplFileHnd& hnd, float const* src, archi::Int64 pos, long len) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "write_block").write_block(src, pos, len);
}

int SplFileMgrImpl::read_ext_data(SplFileHnd& hnd, SplFileExtData& ext_data) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "read_ext_data").read_ext_data(ext_data);
}

int SplFileMgrImpl::get_dates(SplFileHnd const& hnd, sys::UtcTime& creation,
                              sys::UtcTime& modification) const {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "get_dates").get_dates(creation, modification);
}

int SplFileMgrImpl::set_dates(SplFileHnd& hnd, sys::UtcTime const& creation,
                              sys::UtcTime const& modification) {
    sys::CritSec const lock(_mutex, true);
    return find_file_for_handle(hnd, "set_dates").set_dates(creation, modification);
}

int SplFileMgrImpl::report_unknown_handle(SplFileHnd const& hnd) {
    ULK_LOG(ERROR, "close(): Unknown file handle (0x%1X%)", get_address(hnd));
    return Err_HANDLE_UNKNOWN;
}

void SplFileMgrImpl::refuse_handle(SplFileHnd const& hnd, char const* name) {
    ULK_LOG(ERROR, "%1%(): Unknown file handle (0x%2X%)", name, get_address(hnd));
    throw std::runtime_error("find_file_for_handle(): unknown file handle.");
}

int SplFileMgrImpl::open_no_lock(SplFileHnd& hnd, char const* pathname, bool write_flag) {
    auto const key = make_key(pathname);
    auto const it = _file_map.find(key);
    if (it == _file_map.end()) {
        return add_file(hnd, key, false, [&](SplFileUnique& file) {
            return file.open(pathname, _fmt_mgr, !write_flag);
        });
    }
    auto& info = *it->second;
    if (info._exclusive_flag) {
        ULK_LOG(ERROR,
                "open(): file \"%1%\" is already exclusively opened (currently in creation).",
                pathname);
        return Err_FILE_EXCLUSIVE;
    }
    if (write_flag && !info._file.can_write()) {
        ULK_LOG(ERROR, "open(): file \"%1%\" cannot be opened in write mode.", pathname);
        return Err_FILE_NOT_WRITABLE;
    }
    _hnd_map.emplace(&hnd, &info);
    return 0;
}

// Opens a file by open_fnc and enters it in both maps, or in none of them.
template <class F>
int SplFileMgrImpl::add_file(SplFileHnd& hnd, std::string const& key, bool exclusive_flag,
                             F const& open_fnc) {
    auto info_uptr = std::make_unique<FileInfo>();
    mem::SharedPtr<FileInfo> const info_ptr(info_uptr.get());
    info_uptr.release();
    info_ptr->_exclusive_flag = exclusive_flag;
    int const ret_val = open_fnc(info_ptr->_file);
    if (ret_val != 0) {
        return ret_val;
    }
    auto const it = _file_map.emplace(key, info_ptr).first;
    try {
        _hnd_map.emplace(&hnd, info_ptr.get());
    } catch (...) {
        _file_map.erase(it);
        throw;
    }
    return 0;
}

SplFileUnique& SplFileMgrImpl::find_file_for_handle(SplFileHnd const& hnd, char const* name) const {
    auto const it = _hnd_map.find(&hnd);
    if (it == _hnd_map.end()) {
        refuse_handle(hnd, name);
    }
    return it->second->_file;
}

SplFileMgrImpl::FileMap::const_iterator
SplFileMgrImpl::find_file_for_info(FileInfo const* info_ptr) const {
    return std::find_if(_file_map.begin(), _file_map.end(),
                        [&](auto const& entry) { return entry.second.get() == info_ptr; });
}

long SplFileMgrImpl::count_file_uses(FileInfo const* info_ptr) const {
    return std::count_if(_hnd_map.begin(), _hnd_map.end(),
                         [&](auto const& entry) { return entry.second == info_ptr; });
}

} // namespace ulk::sacc
