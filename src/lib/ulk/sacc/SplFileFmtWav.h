#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplFileFmtInterface.h"

#include <array>
#include <memory>
#include <vector>

namespace ulk::sacc {

// RIFF WAVE files (Microsoft, "Multimedia Programming Interface and Data Specifications 1.0").
//
// Read are format categories 1 (integers of 8, 16, 24 and 32 bits) and 3 (floats of 32 bits), 1 to
// 255 channels, 100 Hz to 10 MHz, frames padded up to four times their need. Chunks that are not
// known are passed over. The pad byte of a chunk of odd size is not expected.
//
// Written is the header of 44 bytes, with the samples right behind it.
class SplFileFmtWav : public SplFileFmtInterface {
public:
    // Four bytes each, without a terminator.
    static constexpr char _chunk_id_riff[4] = {'R', 'I', 'F', 'F'};
    static constexpr char _chunk_id_wave[4] = {'W', 'A', 'V', 'E'};
    static constexpr char _chunk_id_fmt[4] = {'f', 'm', 't', ' '};
    static constexpr char _chunk_id_data[4] = {'d', 'a', 't', 'a'};

    // The longest data chunk that a header can state. Neither reading nor writing stops at it.
    static constexpr archi::Int64 _max_data_len_bytes = 0xFFFFFFFE;

    // Of what is written; the samples come right behind it.
    static constexpr long _header_len = 44;
    using Header = std::array<archi::UByte, _header_len>;

    SplFileFmtWav();

    void clear();

    // Makes the object valid, as of a new file without a frame, and touches no file. 0,
    // Err_WAV_BIT_DEPTH or Err_WAV_OUT_OF_RANGE, with the object cleared.
    int setup_new(int nbr_chn, SplFileBitFmt bit_fmt, double sample_freq);

    // Of a valid object, with these sizes in bytes.
    Header make_header(archi::UInt32 riff_len, archi::UInt32 data_len) const;
    // Of a file of len frames, complete; no check whether that many fit.
    Header make_header(archi::Int64 len) const;

    // Where a frame stands in a valid file, in bytes from its start. Both are the same.
    archi::Int64 compute_data_pos(archi::Int64 frame) const;
    archi::Int64 get_data_pos(archi::Int64 frame) const { return compute_data_pos(frame); }

    // Between frames as they stand in a valid file and interleaved floats. src is scratch after a
    // read. Padding in dst is left as it is.
    void convert_block_read(float* dst, archi::UByte* src, long nbr_frames) const;
    void convert_block_write(archi::UByte* dst, float const* src, long nbr_frames) const;

    // Finds the first chunk of that id: chunk_pos is where its header stands, -1 if there is none
    // (which is no error), and chunk_size the size in the last header read, if any. The chunk must
    // have min_len bytes, its header of 8 counted. If buffer is not null, it gets the header and
    // what follows, at most max_len bytes together. Err_WAV_CHUNK_SIZE, Err_EXCEPTION or a file
    // error.
    static int find_chunk(sys::File& file, archi::Int64& chunk_pos, unsigned long& chunk_size,
                          std::vector<archi::UByte>* buffer, char const* id, long min_len,
                          long max_len);

    static bool compare_id(archi::UByte const* data, char const* id); // true if equal
    static void copy_id(archi::UByte* data, char const* id);

protected:
    int do_read_format_info(sys::File& file) override;
    int do_create_from_scratch(sys::File& file, int nbr_chn, SplFileBitFmt bit_fmt,
                               double sample_freq, archi::Int64 len) override;
    int do_validate_new_data(sys::File& file) override;
    void do_close() override;
    int do_read_data(sys::File& file, float* dst, archi::Int64 pos, long len) override;
    int do_write_data(sys::File& file, float const* src, archi::Int64 pos, long len) override;
    bool do_is_file_valid() const override;
    bool do_is_file_being_created() const override;
    archi::Int64 do_get_length() const override;
    int do_get_nbr_chn() const override;
    double do_get_sample_freq() const override;
    SplFileBitFmt do_get_sample_format() const override;
    SplFileFmt do_get_file_format() const override;
    int do_read_extra_data(sys::File& file, SplFileExtData& ext) override;

private:
    static constexpr long _max_buf_len = 65536; // bytes moved at a time

    int parse_fmt_chunk(archi::UByte const* content);
    int parse_bit_fmt(int category, int nbr_bits);
    int check_ranges(int nbr_bits);
    int locate_data(sys::File& file);
    bool is_float_image() const;
    std::unique_ptr<archi::UByte[]> make_buffer(long nbr_frames) const;

    archi::Int64 _len;      // frames; -1 while not valid
    archi::Int64 _data_pos; // of the data chunk's header, bytes
    double _sample_freq;    // Hz
    float _nominal_val;     // full scale of the integer format
    SplFileBitFmt _bit_fmt;
    int _nbr_chn;
    int _block_align;  // bytes from frame to frame
    bool _packed_flag; // no padding in frames
    bool _creation_flag;
};

} // namespace ulk::sacc
