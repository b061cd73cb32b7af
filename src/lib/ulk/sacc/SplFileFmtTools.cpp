#include "ulk/sacc/SplFileFmtTools.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtInterface.h"
#include "ulk/sacc/SplFileFmtMgr.h"
#include "ulk/sys/File.h"
#include "ulk/udbg/log.h"
#include "ulk/util/TraceTools.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace ulk::sacc {

namespace {

using archi::Int64;
using archi::UByte;

struct BitFmtFacts {
    int _nbr_bytes;
    double _nominal_val;
};

BitFmtFacts get_facts(SplFileBitFmt bit_fmt) {
    switch (bit_fmt) {
    case SplFileBitFmt_U8:
        return {1, 128};
    case SplFileBitFmt_S16:
        return {2, 32768};
    case SplFileBitFmt_S24:
        return {3, 8388608};
    case SplFileBitFmt_S32:
        return {4, 2147483648.0};
    case SplFileBitFmt_F32:
        return {4, 1};
    default:
        return {1, 1};
    }
}

constexpr long header_len = 512;           // what factories look at
constexpr Int64 max_part_len = 0x40000000; // one part of extended data

int read_header(sys::File& file, UByte (&header)[header_len]) {
    Int64 len = 0;
    int ret_val = file.get_length(len);
    if (ret_val == 0) {
        ret_val = file.seek(0);
    }
    if (ret_val == 0) {
        ret_val = file.read(header, static_cast<long>(std::min<Int64>(len, header_len)));
    }
    return ret_val;
}

void log_unknown_format(UByte const (&header)[header_len]) {
    char txt[128 + 1];
    std::fill(std::begin(txt), std::end(txt), ' '); // stays between the bytes
    util::TraceTools::dump_mem_as_hex(txt, sizeof(txt), header, header_len);
    ULK_LOG(ERROR, "detect_format(): format is unknown: %1%", txt);
}

int make_format(sys::File& file, mem::SharedPtr<SplFileFmtInterface>& fmt_ptr,
                SplFileFmtMgr& fmt_mgr) {
    UByte header[header_len] = {};
    int fmt = -1;
    int ret_val = read_header(file, header);
    if (ret_val == 0) {
        ret_val = fmt_mgr.detect_format(file, fmt, header);
        if (ret_val == Err_FORMAT_UNKNOWN) {
            log_unknown_format(header);
        }
    }
    return ret_val == 0 ? fmt_mgr.create_format(fmt_ptr, fmt) : ret_val;
}

int store_part(sys::File& file, SplFileExtData& ext_data, Int64 pos, Int64 len) {
    std::vector<UByte> buffer;
    int ret_val = 0;
    while (len > 0 && ret_val == 0) {
        auto const piece_len = std::min(len, max_part_len);
        buffer.resize(static_cast<std::vector<UByte>::size_type>(piece_len));
        ret_val = file.seek(pos);
        if (ret_val == 0) {
            ret_val = file.read(buffer.data(), static_cast<long>(piece_len));
        }
        if (ret_val == 0) {
            ret_val = ext_data.add_part(buffer.data(), pos, static_cast<long>(piece_len));
        }
        pos += piece_len;
        len -= piece_len;
    }
    return ret_val;
}

} // namespace

int SplFileFmtTools::get_nbr_bytes_per_sample(SplFileBitFmt bit_fmt) {
    return get_facts(bit_fmt)._nbr_bytes;
}

double SplFileFmtTools::get_std_nominal_val(SplFileBitFmt bit_fmt) {
    return get_facts(bit_fmt)._nominal_val;
}

int SplFileFmtTools::detect_format(sys::File& file, mem::SharedPtr<SplFileFmtInterface>& fmt_ptr,
                                   SplFileFmtMgr& fmt_mgr) {
    int ret_val = 0;
    try {
        ret_val = make_format(file, fmt_ptr, fmt_mgr);
    } catch (...) {
        ULK_LOG(ERROR, "detect_format(): Exception");
        ret_val = Err_EXCEPTION;
    }
    if (ret_val != 0) {
        fmt_ptr = mem::SharedPtr<SplFileFmtInterface>();
    }
    return ret_val;
}

int SplFileFmtTools::write_parts(sys::File& file, SplFileExtData const& ext_data) {
    auto const extent = ext_data.get_max_extent();
    Int64 file_len = 0;
    int ret_val = file.get_length(file_len);
    if (ret_val == 0 && file_len < extent) {
        ULK_LOG(WARNING, "write_parts(): file length has to be extended from %1% to %2%.", file_len,
                extent);
        ret_val = file.set_length(extent);
    }
    for (int part = 0; part < ext_data.get_nbr_parts() && ret_val == 0; ++part) {
        ret_val = file.seek(ext_data.get_part_pos(part));
        if (ret_val == 0) {
            ret_val = file.write(ext_data.use_part_data(part), ext_data.get_part_len(part));
        }
    }
    return ret_val;
}

int SplFileFmtTools::read_and_store_part(sys::File& file, SplFileExtData& ext_data, Int64 pos,
                                         Int64 len) {
    Int64 file_len = 0;
    int const ret_val = file.get_length(file_len);
    if (ret_val != 0) {
        return ret_val;
    }
    if (len > file_len - pos) {
        ULK_LOG(WARNING,
                "read_and_store_part(): Part is out of file, shortening it (pos = %1%, len = %2%, "
                "file size = %3%).",
                pos, len, file_len);
        len = std::max<Int64>(file_len - pos, 0);
    }
    try {
        return store_part(file, ext_data, pos, len);
    } catch (...) {
        ULK_LOG(ERROR, "read_and_store_part(): Exception (pos = %1%, len = %2%, file size = %3%).",
                pos, len, file_len);
        return Err_EXCEPTION;
    }
}

} // namespace ulk::sacc
