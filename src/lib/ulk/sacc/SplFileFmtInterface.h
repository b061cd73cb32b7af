#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"
#include "ulk/sacc/SplFileFmtCustomInterface.h"

namespace ulk::sys {
class File;
}

namespace ulk::sacc {

class SplFileExtData;

// What a file format does with an open file, which it does not own and which comes with each call:
// always the same one between two close().
//
// Positions and lengths are in frames; float buffers are interleaved (len * get_nbr_chn() floats)
// with 1.0 as full scale. Functions that give an int give 0 or an error of this library or of
// sys::File. No locks: the caller sees to it that one thread at a time uses an object.
class SplFileFmtInterface : public SplFileFmtCustomInterface {
public:
    // Reads and checks the headers. After a success the object is valid; after an error it is not.
    int read_format_info(sys::File& file) { return do_read_format_info(file); }

    // Writes the headers of a new file of len frames (0 is usual: the file grows by write_data()).
    // sample_freq is in Hz. After a success the object is valid and in creation.
    int create_from_scratch(sys::File& file, int nbr_chn, SplFileBitFmt bit_fmt, double sample_freq,
                            archi::Int64 len) {
        return do_create_from_scratch(file, nbr_chn, bit_fmt, sample_freq, len);
    }

    // Brings what the headers say about the length up to date.
    int validate_new_data(sys::File& file) { return do_validate_new_data(file); }

    // Makes the object invalid. The file stays open.
    void close() { do_close(); }

    // [pos, pos + len) is not checked when reading; writing behind the end extends the file. What a
    // failed reading leaves in dst is not told.
    int read_data(sys::File& file, float* dst, archi::Int64 pos, long len) {
        return do_read_data(file, dst, pos, len);
    }
    int write_data(sys::File& file, float const* src, archi::Int64 pos, long len) {
        return do_write_data(file, src, pos, len);
    }

    bool is_file_valid() const { return do_is_file_valid(); }
    bool is_file_being_created() const { return do_is_file_being_created(); }
    archi::Int64 get_length() const { return do_get_length(); } // frames, -1 when not valid
    int get_nbr_chn() const { return do_get_nbr_chn(); }
    double get_sample_freq() const { return do_get_sample_freq(); } // Hz
    SplFileBitFmt get_sample_format() const { return do_get_sample_format(); }
    SplFileFmt get_file_format() const { return do_get_file_format(); }

    // Replaces the content of ext by all of the file that is not sample data.
    int read_extra_data(sys::File& file, SplFileExtData& ext) {
        return do_read_extra_data(file, ext);
    }

protected:
    virtual int do_read_format_info(sys::File& file) = 0;
    virtual int do_create_from_scratch(sys::File& file, int nbr_chn, SplFileBitFmt bit_fmt,
                                       double sample_freq, archi::Int64 len) = 0;
    virtual int do_validate_new_data(sys::File& file) = 0;
    virtual void do_close() = 0;
    virtual int do_read_data(sys::File& file, float* dst, archi::Int64 pos, long len) = 0;
    virtual int do_write_data(sys::File& file, float const* src, archi::Int64 pos, long len) = 0;
    virtual bool do_is_file_valid() const = 0;
    virtual bool do_is_file_being_created() const = 0;
    virtual archi::Int64 do_get_length() const = 0;
    virtual int do_get_nbr_chn() const = 0;
    virtual double do_get_sample_freq() const = 0;
    virtual SplFileBitFmt do_get_sample_format() const = 0;
    virtual SplFileFmt do_get_file_format() const = 0;
    virtual int do_read_extra_data(sys::File& file, SplFileExtData& ext) = 0;
};

} // namespace ulk::sacc
