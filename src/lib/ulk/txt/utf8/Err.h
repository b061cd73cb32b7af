#pragma once

namespace ulk::txt::utf8 {

// Codes of the text library: 0 for success, the rest negative.
enum : int {
    Err_INVALID_FOLLOW_BYTE = -3493,
    Err_INVALID_LEAD_BYTE = -3496,
    Err_CHAR_OUT_OF_RANGE = -3497,
    Err_NOT_FOUND = -3498,     // no such substring, or no number to read
    Err_DEST_TOO_SMALL = -3499 // the text would not fit
};

} // namespace ulk::txt::utf8
