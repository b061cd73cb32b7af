#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"
#include "ulk/sacc/SplFileFmtFactoryWav.h"
#include "ulk/sacc/SplFileFmtMgr.h"
#include "ulk/sacc/SplFileUnique.h"
#include "ulk/sys/Mutex.h"

#include <functional>
#include <map>
#include <string>

namespace ulk::sacc {

class SplFileExtData;
class SplFileFmtCustomInterface;
class SplFileFmtDesc;
class SplFileFmtFactoryInterface;
class SplFileHnd;

// What stands behind SplFileMgr and SplFileHnd: which handle has which file, and which file a path
// is. Operations are those of SplFileHnd, under the mutex. With a handle that has no file here all
// but open(), create_new(), create_copy() and close() throw std::runtime_error.
class SplFileMgrImpl {
public:
    struct FileInfo {
        SplFileUnique _file;
        bool _exclusive_flag = false; // in creation
    };

    explicit SplFileMgrImpl(sys::Mutex& mutex);
    SplFileMgrImpl(SplFileMgrImpl const&) = delete;
    SplFileMgrImpl& operator=(SplFileMgrImpl const&) = delete;
    virtual ~SplFileMgrImpl();

    sys::Mutex& use_mutex() { return _mutex; }
    int register_format_factory(int fmt, SplFileFmtFactoryInterface& factory);
    int unregister_format_factory(int fmt);

    int open(SplFileHnd& hnd, char const* pathname, bool write_flag);
    int create_new(SplFileHnd& hnd, char const* pathname, SplFileFmtDesc const& desc,
                   archi::Int64 len);
    int create_copy(SplFileHnd& hnd, char const* pathname, SplFileExtData const& ext_data);
    int close(SplFileHnd& hnd);

    int validate_new_data(SplFileHnd& hnd);
    archi::Int64 get_length(SplFileHnd const& hnd) const;
    int get_nbr_chn(SplFileHnd const& hnd) const;
    double get_sample_freq(SplFileHnd const& hnd) const;
    SplFileBitFmt get_sample_format(SplFileHnd const& hnd) const;
    SplFileFmt get_file_format(SplFileHnd const& hnd) const;
    SplFileFmtCustomInterface* get_data_provider(SplFileHnd& hnd);
    bool can_be_read(SplFileHnd const& hnd) const;
    bool can_be_written(SplFileHnd const& hnd) const;
    bool is_len_fixed(SplFileHnd const& hnd) const;
    int read_block(SplFileHnd& hnd, float* dst, archi::Int64 pos, long len);
    int write_block(SplFileHnd& hnd, float const* src, archi::Int64 pos, long len);
    int read_ext_data(SplFileHnd& hnd, SplFileExtData& ext_data);
    int get_dates(SplFileHnd const& hnd, sys::UtcTime& creation, sys::UtcTime& modification) const;
    int set_dates(SplFileHnd& hnd, sys::UtcTime const& creation, sys::UtcTime const& modification);

    // What close() gives for a handle that has no file.
    static int report_unknown_handle(SplFileHnd const& hnd);

    // The end of another operation, called `name`, with such a handle.
    [[noreturn]] static void refuse_handle(SplFileHnd const& hnd, char const* name);

private:
    using FileMap = std::map<std::string, mem::SharedPtr<FileInfo>>;
    using HndMap = std::map<SplFileHnd*, FileInfo*, std::less<>>;

    int open_no_lock(SplFileHnd& hnd, char const* pathname, bool write_flag);
    template <class F>
    int add_file(SplFileHnd& hnd, std::string const& key, bool exclusive_flag, F const& open_fnc);
    SplFileUnique& find_file_for_handle(SplFileHnd const& hnd, char const* name) const;
    FileMap::const_iterator find_file_for_info(FileInfo const* info_ptr) const;
    long count_file_uses(FileInfo const* info_ptr) const;

    sys::Mutex& _mutex;
    FileMap _file_map; // by simplified pathname
    HndMap _hnd_map;
    SplFileFmtMgr _fmt_mgr;
    SplFileFmtFactoryWav _factory_wav;
};

} // namespace ulk::sacc
