#pragma once

#include "ulk/sacc/SplFileFmtInterface.h"

#include <memory>

namespace ulk::host {

// A file of any format that libsndfile reads to the frame, for the sample library. Read alone.
class SoundFileFmt : public sacc::SplFileFmtInterface {
public:
    static constexpr sacc::SplFileFmt number = static_cast<sacc::SplFileFmt>(1);

    SoundFileFmt();
    ~SoundFileFmt() override;

protected:
    // Also Err_LEN_NOT_FIXED for a file that does not tell its length, and Err_WAV_TRUNCATED for
    // one whose last frame is not there.
    int do_read_format_info(sys::File& file) override;
    int do_create_from_scratch(sys::File& file, int nbr_chn, sacc::SplFileBitFmt bit_fmt,
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
    sacc::SplFileBitFmt do_get_sample_format() const override;
    sacc::SplFileFmt do_get_file_format() const override;
    int do_read_extra_data(sys::File& file, sacc::SplFileExtData& ext) override;

private:
    class Stream;

    std::unique_ptr<Stream> _stream; // null while not valid
};

} // namespace ulk::host
