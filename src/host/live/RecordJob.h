#pragma once

#include "host/Error.h"
#include "host/live/Device.h"
#include "host/live/GapList.h"
#include "host/live/Levels.h"
#include "host/live/PassTimes.h"
#include "ulk/sacc/SplFileBitFmt.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>

namespace ulk::host::live {

// What a device hears, written into a WAV file through the recording side of a sample cache. Each
// second the file's headers are brought up to date, and all of it to the disk. What the disk is too
// slow for is silence in the file, so that all behind it lies in its place. Control side.
class RecordJob {
public:
    struct Settings {
        std::string path;
        std::string device; // empty for the default one
        int nbr_chn = 2;
        double sample_freq = 48000; // Hz
        long block_len = 256;       // frames, a wish
        sacc::SplFileBitFmt bit_fmt = sacc::SplFileBitFmt_S24;
        std::optional<double> len; // s; else until it is stopped
        // Bytes that the file may have: a WAV file tells its length in 32 bits.
        long long max_file_len = std::numeric_limits<std::uint32_t>::max();
    };
    struct Result {
        std::string device;
        double sample_freq = 0;
        long long nbr_frames = 0; // that are in the file for sure, silence included
        long long nbr_lost = 0;   // frames that came in and are not there
        GapList gaps;             // silence that stands for them
        long nbr_xruns = 0;
        Peaks peaks{};
        PassTimes times;
        std::optional<bool> real_time; // the callback had such a priority; none if never called
        bool full_flag = false;        // the file can hold no more: it ended before its time
        std::optional<Error>
            failure; // what ended it before its time; all until then is in the file
    };
    // How it stands.
    struct View {
        double time;        // s since it began
        Peaks peaks;        // since the last time
        long long nbr_lost; // frames
        long nbr_xruns;
    };

    using Open = std::function<std::unique_ptr<Device>(Device::Settings const&)>;
    // Called over and over on the calling thread; may take a while, since another one writes. False
    // to stop.
    using Watch = std::function<bool(View const& view)>;

    // Throws an Error when it cannot begin; what ends it before its time stands in the result.
    static Result run(Settings const& settings, Open const& open, Watch const& watch);
};

} // namespace ulk::host::live
