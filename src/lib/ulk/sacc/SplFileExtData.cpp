#include "ulk/sacc/SplFileExtData.h"

#include "ulk/sacc/Err.h"
#include "ulk/udbg/log.h"

#include <algorithm>

namespace ulk::sacc {

int SplFileExtData::add_part(archi::UByte const* data, archi::Int64 pos, long len) {
    try {
        _part_list.push_back({pos, {data, data + len}});
    } catch (...) {
        ULK_LOG(ERROR, "add_part(): exception.");
        return Err_EXCEPTION;
    }
    return 0;
}

archi::Int64 SplFileExtData::get_max_extent() const {
    auto extent = _file_len;
    for (auto const& part : _part_list) {
        extent = std::max(extent, part._pos + static_cast<archi::Int64>(part._data.size()));
    }
    return extent;
}

void SplFileExtData::clear() {
    _part_list.clear();
    _file_len = 0;
}

} // namespace ulk::sacc
