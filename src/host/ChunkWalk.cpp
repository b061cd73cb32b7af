#include "host/ChunkWalk.h"

#include "ulk/archi/types.h"
#include "ulk/sys/File.h"

#include <algorithm>
#include <cstring>

namespace ulk::host {

namespace {

constexpr long file_header_len = 12;
constexpr long chunk_header_len = 8;

bool is_sound(archi::UByte const* id) {
    return std::memcmp(id, "data", 4) == 0 || std::memcmp(id, "SSND", 4) == 0;
}

archi::Int64 read_len(archi::UByte const* bytes, ChunkWalk::Order order) {
    archi::Int64 len = 0;
    for (int pos = 0; pos < 4; ++pos) {
        len = len << 8 | bytes[order == ChunkWalk::Order::BIG ? pos : 3 - pos];
    }
    return len;
}

} // namespace

bool ChunkWalk::is_bounded(sys::File& file, Order order) {
    archi::Int64 file_len = 0;
    bool ok_flag = file.get_length(file_len) == 0;
    for (archi::Int64 pos = file_header_len; ok_flag && pos + chunk_header_len <= file_len;) {
        archi::UByte header[chunk_header_len];
        ok_flag = file.seek(pos) == 0 && file.read(header, chunk_header_len) == 0;
        archi::Int64 const len = read_len(header + 4, order);
        pos += chunk_header_len + len + len % 2;
        ok_flag = ok_flag && (pos <= file_len + 1 || is_sound(header));
    }
    return ok_flag;
}

} // namespace ulk::host
