#pragma once

namespace ulk::sys {

// Codes of the system layer: 0 for success, the rest negative. Those of files come first.
enum : int {
    Err_FILE_NOT_OPEN = -2999, // operation on a closed file
    Err_FILE_OPEN = -2998,     // opening failed, or bad flags
    Err_FILE_CLOSE = -2997,    // closing failed, or nothing to close
    Err_FILE_READ = -2996,
    Err_FILE_READ_PAST_END = -2995, // the file ended before the requested bytes
    Err_FILE_WRITE = -2994,
    Err_FILE_GET_POS = -2993,
    Err_FILE_SEEK = -2992,
    Err_FILE_GET_LENGTH = -2991,
    Err_FILE_SET_LENGTH = -2990,
    Err_FILE_GET_FILEREF = -2989, // no reference could be made
    Err_FILE_SET_CREATION_DATE = -2987,
    Err_FILE_SET_MODIFICATION_DATE = -2986,
    Err_FILE_GET_CREATION_DATE = -2985,
    Err_FILE_GET_MODIFICATION_DATE = -2984,

    Err_TIME_OUT_OF_C_RANGE = -2981, // the instant has no 32-bit count of seconds since 1970
    Err_TIME_INVALID_DATE = -2982,   // the date is not one of the calendar

    Err_THREAD_SET_PRIORITY = -2946
};

} // namespace ulk::sys
