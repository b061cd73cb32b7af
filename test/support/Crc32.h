#pragma once

#include <vector>

namespace test {

// CRC-32 as in PNG and gzip.
inline unsigned int compute_crc32(std::vector<unsigned char> const& data) {
    unsigned int crc = ~0u;
    for (unsigned char byte : data) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1)));
        }
    }
    return ~crc;
}

} // namespace test
