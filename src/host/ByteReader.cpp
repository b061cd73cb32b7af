#include "host/ByteReader.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

namespace ulk::host {

std::uint64_t ByteReader::take_unsigned(int nbr_bytes) {
    std::uint64_t val = 0;
    int shift = 0;
    for (char const c : take_bytes(static_cast<std::size_t>(nbr_bytes))) {
        val |= std::uint64_t{static_cast<unsigned char>(c)} << shift;
        shift += 8;
    }
    return val;
}

std::int64_t ByteReader::take_signed(int nbr_bytes) {
    int const shift = 64 - 8 * nbr_bytes;
    return static_cast<std::int64_t>(take_unsigned(nbr_bytes) << shift) >> shift;
}

std::string_view ByteReader::take_bytes(std::size_t len) {
    if (len > _bytes.size()) {
        throw EndError();
    }
    std::string_view const bytes = _bytes.substr(0, len);
    _bytes.remove_prefix(len);
    return bytes;
}

std::string ByteReader::take_text(std::size_t len) {
    std::string_view const bytes = take_bytes(len);
    std::string txt(bytes.substr(0, bytes.find('\0')));
    std::replace_if(
        txt.begin(), txt.end(),
        [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, '?');
    return txt;
}

std::string ByteReader::take_hex(int nbr_bytes) {
    char txt[32];
    std::snprintf(txt, sizeof(txt), "0x%0*" PRIX64, 2 * nbr_bytes, take_unsigned(nbr_bytes));
    return txt;
}

} // namespace ulk::host
