#pragma once

#include "ulk/archi/types.h"

#include <vector>

namespace ulk::sacc {

// All of a file that is not sample data: its length, and byte strings with their places. From it
// the file can be built again elsewhere, with its samples still to be written. A value; no locks.
class SplFileExtData {
public:
    struct DataPart {
        archi::Int64 _pos = 0; // bytes from the start of the file
        std::vector<archi::UByte> _data;
    };

    virtual ~SplFileExtData() = default;

    // Appends a copy of len bytes that stand at pos in the file. 0, or Err_EXCEPTION with the parts
    // as they were.
    int add_part(archi::UByte const* data, archi::Int64 pos, long len);

    // Parts stand in the order of the add_part calls; index is 0 to get_nbr_parts() - 1.
    int get_nbr_parts() const { return static_cast<int>(_part_list.size()); }
    archi::Int64 get_part_pos(int index) const { return use_part(index)._pos; }
    long get_part_len(int index) const { return static_cast<long>(use_part(index)._data.size()); }
    archi::UByte const* use_part_data(int index) const { return use_part(index)._data.data(); }

    void set_file_length(archi::Int64 len) { _file_len = len; } // bytes
    archi::Int64 get_file_length() const { return _file_len; }

    // The greatest of the file length and the ends of all parts, in bytes.
    archi::Int64 get_max_extent() const;

    void clear();

private:
    DataPart const& use_part(int index) const {
        return _part_list[static_cast<std::vector<DataPart>::size_type>(index)];
    }

    std::vector<DataPart> _part_list;
    archi::Int64 _file_len = 0;
};

} // namespace ulk::sacc
