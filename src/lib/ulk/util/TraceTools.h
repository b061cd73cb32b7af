#pragma once

namespace ulk::util {

// Dumps for log texts. Sizes are in characters, terminators included; nothing is stored outside of
// a buffer of that size.
class TraceTools {
public:
    // Marks the end of a full buffer by "..." and the terminator. size is 4 at least.
    static void truncate_string(char* buf, long size);

    // Two upper-case digits a byte. The place between two bytes is skipped: it keeps what the
    // buffer held, and who wants blanks clears it with blanks. Ends in "..." if bytes are left
    // over.
    static void dump_mem_as_hex(char* dst, long dst_size, void const* src, long len);

    // The bytes, with "~" for what is not printable. Ends in "..." if bytes are left over.
    static void dump_mem_as_filtered_string(char* dst, long dst_size, void const* src, long len);

private:
    static void finish(char* dst, long dst_size, long pos, bool left_flag);
};

} // namespace ulk::util
