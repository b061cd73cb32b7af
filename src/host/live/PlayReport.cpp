#include "host/live/PlayReport.h"

#include "host/render/TimeText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace ulk::host::live {

namespace {

template <class... Args>
std::string format_text(char const* format, Args... args) {
    std::array<char, 256> buf;
    std::snprintf(buf.data(), buf.size(), format, args...);
    return buf.data();
}

} // namespace

bool PlayReport::is_lossy() const {
    return !lost_clips.empty() || !losses.empty() || nbr_xruns > 0 || stat.nbr_late > 0;
}

std::string PlayReport::print() const {
    std::string txt = session + " on " + device +
                      format_text(", %.0f Hz, blocks of %ld\n", sample_freq, block_len);
    txt +=
        "  played    " +
        render::TimeText::print(static_cast<double>(stat.nbr_frames) / sample_freq, 3) +
        format_text(" in %lld blocks, %d jumps and rounds, to ", stat.nbr_blocks, stat.nbr_jumps) +
        render::TimeText::print(time, 3) + " of the session\n";
    txt += format_text("  voices    up to %d at once\n", stat.max_voices);
    txt += "  peaks    " + Levels::print(stat.peaks, nbr_chn) + "\n";
    txt += format_text("  cache     up to %ld of %ld cells\n", stat.max_cells_full, stat.nbr_cells);
    txt += format_text("  xruns     %ld\n", nbr_xruns) + stat.print();
    if (real_time) {
        txt += format_text("  priority  %s\n", *real_time ? "real-time" : "as any other thread");
    }
    if (stat.nbr_late > 0) {
        txt += format_text("  LATE      %lld frames of silence between rounds of the loop\n",
                           stat.nbr_late);
    }
    for (LostClip const& clip : lost_clips) {
        txt += "  DROPPED   " + clip.place + ", at " + render::TimeText::print(clip.time, 3) +
               " on " + clip.track + ": " + clip.reason + "\n";
    }
    txt += losses.empty() ? "  holes     none\n" : "";
    for (Loss const& loss : losses) {
        txt += "  HOLE      " + loss.place + ", at " + render::TimeText::print(loss.time, 3) +
               format_text(": %lld frame%s%s\n", loss.nbr_frames, loss.nbr_frames == 1 ? "" : "s",
                           loss.refused_flag ? ", its sample cannot be used" : "");
    }
    txt += failure ? std::string("  ENDED     ") + failure->what() + "\n" : "";
    return txt;
}

nlohmann::json PlayReport::make_json() const {
    nlohmann::json lost_arr = nlohmann::json::array();
    for (LostClip const& clip : lost_clips) {
        lost_arr.push_back({{"track", clip.track},
                            {"place", clip.place},
                            {"time_s", clip.time},
                            {"reason", clip.reason}});
    }
    nlohmann::json hole_arr = nlohmann::json::array();
    for (Loss const& loss : losses) {
        hole_arr.push_back({{"place", loss.place},
                            {"time_s", loss.time},
                            {"frames", loss.nbr_frames},
                            {"refused", loss.refused_flag}});
    }
    nlohmann::json json = {
        {"session", session},
        {"device", device},
        {"rate", sample_freq},
        {"block", block_len},
        {"frames", stat.nbr_frames},
        {"blocks", stat.nbr_blocks},
        {"time_s", time},
        {"voices_max", stat.max_voices},
        {"peaks_db", Levels::make_json(stat.peaks, nbr_chn)},
        {"cells", stat.nbr_cells},
        {"cells_max", stat.max_cells_full},
        {"jumps", stat.nbr_jumps},
        {"late_frames", stat.nbr_late},
        {"xruns", nbr_xruns},
        {"real_time", real_time ? nlohmann::json(*real_time) : nlohmann::json()},
        {"dropped_notes", lost_arr},
        {"holes", hole_arr},
        {"failure", failure ? nlohmann::json(failure->what()) : nlohmann::json()}};
    stat.write(json);
    return json;
}

} // namespace ulk::host::live
