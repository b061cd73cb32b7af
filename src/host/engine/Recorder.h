#pragma once

#include "host/engine/CacheService.h"
#include "host/render/OutputFormat.h"
#include "ulk/sacc/SplCacheFileId.h"

#include <string>

namespace ulk::host::engine {

// A WAV file that is written through the recording side of a cache: frames go into its memory, its
// slices bring them to the disk. Control side but where told.
class Recorder {
public:
    // Throws an Error when what has that name is not a file that could be replaced. Opens nothing.
    static void check_path(std::string const& path);
    // Makes the file; what stood there is lost. Throws an Error that names it.
    Recorder(CacheService& cache, std::string const& path, render::OutputFormat const& format);
    ~Recorder(); // closes, whatever comes of it

    Recorder(Recorder const&) = delete;
    Recorder& operator=(Recorder const&) = delete;

    std::string const& get_path() const { return _path; }
    // Appends frames, a buffer a channel, and gives how many the cache had memory for. real-time,
    // within a pass
    long push(float const* const* chn_arr, long len);
    long push_silence(long len); // the same
    // Brings the file's headers up to date with what has been written, so that it can be read
    // whatever happens. The slices have run since nbr_frames were pushed. Gives how many of these
    // are in the file: only whole cells have been written. Throws an Error when it has not grown as
    // it should.
    long long validate(long long nbr_frames);
    long long get_nbr_pushed() const { return _nbr_pushed; } // frames; within a pass
    // Writes the rest, behind slices that have written all but the last cell. Throws an Error when
    // the file does not hold all that was pushed.
    void close();

private:
    template <class F>
    long fill(long len, F fnc);
    void check_blocks() const;
    void prepare_file();
    void check_size(long long nbr_frames) const;

    CacheService& _cache;
    std::string _path;
    render::OutputFormat _format;
    sacc::SplCacheFileId _file_id = 0;
    long long _nbr_pushed = 0; // frames
    bool _open_flag = true;
};

} // namespace ulk::host::engine
