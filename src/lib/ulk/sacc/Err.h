#pragma once

namespace ulk::sacc {

// Return codes of the sample library. 0 is success; codes of the files below it (ulk/sys/Err.h)
// come up through it unchanged. -14984 is unassigned.
enum : int {
    Err_EXCEPTION = -15000, // caught at the end of an operation; most often out of memory
    Err_FILE_ID_UNKNOWN = -14999,
    Err_OUT_OF_RANGE = -14998,
    Err_LEN_NOT_FIXED = -14997,
    Err_FILE_NOT_FOUND_IN_POOL = -14996,
    Err_FORMAT_UNKNOWN = -14995,
    Err_WAV_CHUNK_NOT_FOUND = -14994,
    Err_WAV_CATEGORY = -14993,
    Err_WAV_BIT_DEPTH = -14992,
    Err_WAV_OUT_OF_RANGE = -14991,
    Err_WAV_INCONSISTENT_BIT_DEPTH = -14990,
    Err_WAV_TRUNCATED = -14989,
    Err_WAV_CHUNK_SIZE = -14988,
    Err_FILE_EXCLUSIVE = -14987,    // the file is being created by another handle
    Err_FILE_NOT_WRITABLE = -14986, // already open, and could only be opened for reading
    Err_FILE_ALREADY_OPEN = -14985,
    Err_HANDLE_UNKNOWN = -14983,
    Err_FACTORY_REGISTERED = -14982,
    Err_FACTORY_NOT_REGISTERED = -14981
};

} // namespace ulk::sacc
