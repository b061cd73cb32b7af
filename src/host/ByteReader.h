#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ulk::host {

// Takes little-endian numbers and texts from bytes, one behind the other.
class ByteReader {
public:
    // What a call throws that asks for more than there is.
    class EndError {};

    explicit ByteReader(std::string_view bytes)
        : _bytes(bytes) {}

    std::uint64_t take_unsigned(int nbr_bytes); // 1 to 8
    std::int64_t take_signed(int nbr_bytes);
    std::string_view take_bytes(std::size_t len);

    // A text of that many bytes, or up to a zero among them; what is no letter to be shown becomes
    // a question mark.
    std::string take_text(std::size_t len);

    // "0x0001F00D"
    std::string take_hex(int nbr_bytes);

    std::size_t get_nbr_left() const { return _bytes.size(); }

private:
    std::string_view _bytes;
};

} // namespace ulk::host
