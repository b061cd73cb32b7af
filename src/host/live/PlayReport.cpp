#include "host/live/PlayReport.h"

#include "host/render/TimeText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace ulk::host::live {

namespace {

using render::Percentiles;

template <class... Args>
std::string format_text(char const* format, Args... args) {
    std::array<char, 256> buf;
    std::snprintf(buf.data(), buf.size(), format, args...);
    return buf.data();
}

std::string print_times(Percentiles const& times) {
    return format_text("half within %.1f us, 99 %% %.1f us, 99.9 %% %.1f us, all %.1f us",
                       times.find(0.5) * 1e-3, times.find(0.99) * 1e-3, times.find(0.999) * 1e-3,
                       static_cast<double>(times.get_max()) * 1e-3);
}

nlohmann::json make_times(Percentiles const& times) {
    return {{"p50_us", times.find(0.5) * 1e-3},
            {"p90_us", times.find(0.9) * 1e-3},
            {"p99_us", times.find(0.99) * 1e-3},
            {"p99.9_us", times.find(0.999) * 1e-3},
            {"max_us", static_cast<double>(times.get_max()) * 1e-3}};
}

} // namespace

std::string PlayReport::print() const {
    std::string txt = session + " on " + device +
                      format_text(", %.0f Hz, blocks of %ld\n", sample_freq, block_len);
    txt += "  played    " +
           render::TimeText::print(static_cast<double>(stat.nbr_frames) / sample_freq, 3) +
           format_text(" in %lld blocks, %d jumps and rounds, up to %d voices at once\n",
                       stat.nbr_blocks, stat.nbr_jumps, stat.max_voices);
    txt += format_text("  xruns     %ld\n", nbr_xruns);
    txt += "  waits     " + print_times(stat.waits) +
           format_text("; %lld over a tenth of a block\n", stat.nbr_long_waits);
    txt += "  blocks    " + print_times(stat.works) + "\n";
    txt += format_text("  priority  %s\n", real_time_flag ? "real-time" : "as any other thread");
    if (stat.nbr_late > 0) {
        txt += format_text("  LATE      %lld frames of silence between rounds of the loop\n",
                           stat.nbr_late);
    }
    txt += losses.empty() ? "  holes     none\n" : "";
    for (Loss const& loss : losses) {
        txt += "  HOLE      " + loss.place + ", at " + render::TimeText::print(loss.time, 3) +
               format_text(": %lld frames%s\n", loss.nbr_frames,
                           loss.refused_flag ? ", its sample cannot be used" : "");
    }
    return txt;
}

nlohmann::json PlayReport::make_json() const {
    nlohmann::json hole_arr = nlohmann::json::array();
    for (Loss const& loss : losses) {
        hole_arr.push_back({{"place", loss.place},
                            {"time_s", loss.time},
                            {"frames", loss.nbr_frames},
                            {"refused", loss.refused_flag}});
    }
    return {{"session", session},
            {"device", device},
            {"rate", sample_freq},
            {"block", block_len},
            {"frames", stat.nbr_frames},
            {"blocks", stat.nbr_blocks},
            {"voices_max", stat.max_voices},
            {"jumps", stat.nbr_jumps},
            {"late_frames", stat.nbr_late},
            {"long_waits", stat.nbr_long_waits},
            {"xruns", nbr_xruns},
            {"real_time", real_time_flag},
            {"waits", make_times(stat.waits)},
            {"block_times", make_times(stat.works)},
            {"holes", hole_arr}};
}

} // namespace ulk::host::live
