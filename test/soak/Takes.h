#pragma once

#include "host/live/RecordJob.h"
#include "soak/Tally.h"
#include "soak/Verdict.h"
#include "support/FaultyDisk.h"

#include <atomic>
#include <random>
#include <string>

namespace soak {

// Records one file after the other and reads each back: a signal of which each frame tells its
// place.
class Takes {
public:
    Takes(std::string const& path, test::FaultyDisk const& disk, unsigned seed, Verdict& verdict);

    void run();                        // until stop()
    void stop() { _stop_flag = true; } // any thread
    void add_to(Tally& tally) const;   // behind run()

private:
    using Result = ulk::host::live::RecordJob::Result;

    struct Format {
        ulk::sacc::SplFileBitFmt bit_fmt;
        int nbr_chn;

        // Numbers that a channel tells; the next channel takes over.
        long long get_range() const { return bit_fmt == ulk::sacc::SplFileBitFmt_U8 ? 64 : 16384; }
        float make(int chn, long long frame) const;
        bool is_frame(float const* chn_arr, long long frame) const;
        bool is_silent(float const* chn_arr) const;
        bool is_empty(float const* chn_arr) const;
    };

    // What is in a file.
    struct Content {
        long long nbr_frames = -1; // -1 for a file that cannot be read
        long long nbr_silent = 0;  // frames for which there was no memory
        long long nbr_empty = 0;   // that were never written
        long long nbr_wrong = 0;

        std::string print() const;
    };

    int draw(int least, int most) { return std::uniform_int_distribution<int>(least, most)(_rng); }
    void record();
    Content read(Format const& format) const;
    void check_whole(Format const& format, Result const& result, long long nbr_heard);
    void check_failed(Format const& format, long long nbr_failures, std::string const& text);
    void fail(Format const& format, std::string const& text);

    std::string _path;
    test::FaultyDisk const& _disk;
    std::mt19937 _rng;
    Verdict& _verdict;
    std::atomic<bool> _stop_flag = false;
    long long _nbr_takes = 0;
    long long _nbr_failed = 0;
    long long _nbr_frames = 0;
    long long _nbr_lost = 0;
};

} // namespace soak
