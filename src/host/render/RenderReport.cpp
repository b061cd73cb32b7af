#include "host/render/RenderReport.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>

namespace ulk::host::render {

namespace {

using Json = nlohmann::ordered_json;

// Levels have a hundredth of a dB, times a microsecond; null for a level of silence.
Json make_level(double db) {
    return std::isfinite(db) ? Json(std::round(db * 100) / 100) : Json();
}

Json make_time(double s) {
    return std::round(s * 1e6) / 1e6;
}

Json make_us(double ns) {
    return std::round(ns / 100) / 10;
}

Json make_sound(Meter::Figures const& sound) {
    Json peaks = Json::array();
    for (double const peak : sound.peak_arr) {
        peaks.push_back(make_level(peak));
    }
    char hash[17];
    std::snprintf(hash, sizeof(hash), "%016llx", static_cast<unsigned long long>(sound.hash));
    return {{"peak_dbfs", make_level(sound.peak)},
            {"channel_peaks_dbfs", peaks},
            {"true_peak_dbtp", make_level(sound.true_peak)},
            {"loudness_lufs", make_level(sound.loudness)},
            {"loudness_range_lu", make_level(sound.loudness_range)},
            {"clipped_frames", sound.nbr_clipped},
            {"non_finite_samples", sound.nbr_non_finite},
            {"hash_xxh3", hash}};
}

Json make_cache(RenderReport::Cache const& cache) {
    return {{"cells", cache.nbr_cells},
            {"memory_bytes", cache.memory_len},
            {"cells_in_use_max", cache.max_nbr_cells},
            {"cells_read", cache.nbr_cells_read},
            {"slices", cache.nbr_slices},
            {"prefetch_calls", cache.nbr_prefetches},
            {"waits", cache.nbr_waits}};
}

Json make_block_times(Percentiles const& times) {
    return {{"count", times.get_count()},
            {"p50", make_us(times.find(0.5))},
            {"p90", make_us(times.find(0.9))},
            {"p99", make_us(times.find(0.99))},
            {"p99.9", make_us(times.find(0.999))},
            {"max", make_us(static_cast<double>(times.get_max()))}};
}

template <class T, class F>
void add_list(Json& json, char const* name, T const& list, F make) {
    for (auto const& elt : list) {
        json[name].push_back(make(elt));
    }
}

void add_losses(Json& json, RenderReport const& report) {
    add_list(json, "dropped_notes", report.lost_clips, [](LostClip const& clip) {
        return Json{{"track", clip.track},
                    {"place", clip.place},
                    {"time_s", make_time(clip.time)},
                    {"reason", clip.reason}};
    });
    add_list(
        json, "missing_samples", report.missing_samples,
        [](RenderReport::MissingSample const& sample) {
            return Json{{"path", sample.path}, {"place", sample.place}, {"reason", sample.reason}};
        });
    add_list(json, "holes", report.holes, [](RenderReport::Hole const& hole) {
        return Json{
            {"place", hole.place}, {"time_s", make_time(hole.time)}, {"frames", hole.nbr_frames}};
    });
}

void add_stems(Json& json, RenderReport const& report) {
    add_list(json, "stems", report.stems, [](RenderReport::Stem const& stem) {
        return Json{{"name", stem.name}, {"path", stem.path}, {"peak_dbfs", make_level(stem.peak)}};
    });
    if (report.stem_deviation) {
        json["stems_deviation_dbfs"] = make_level(*report.stem_deviation);
    }
}

} // namespace

bool RenderReport::is_lossy(bool strict_flag) const {
    bool const broken_flag = sound && sound->nbr_non_finite > 0;
    bool const clipped_flag = sound && sound->nbr_clipped > 0;
    return stopped_flag || broken_flag || (strict_flag && clipped_flag) || !lost_clips.empty() ||
           !missing_samples.empty() || !holes.empty();
}

double RenderReport::compute_duration() const {
    return static_cast<double>(nbr_frames) / format.sample_freq;
}

double RenderReport::compute_speed() const {
    return elapsed > 0 ? compute_duration() / elapsed : 0;
}

nlohmann::ordered_json RenderReport::make_json() const {
    Json json = {{"session", session},
                 {"outputs", paths},
                 {"format", format.get_name()},
                 {"sample_rate_hz", format.sample_freq},
                 {"channels", format.nbr_chn},
                 {"frames", nbr_frames},
                 {"duration_s", make_time(compute_duration())},
                 {"block_frames", block_len},
                 {"quality", quality},
                 {"complete", !stopped_flag}};
    if (sound) {
        json["sound"] = make_sound(*sound);
    }
    json["notes_played"] = nbr_notes;
    json["voices_max"] = max_nbr_voices;
    add_losses(json, *this);
    if (cache) {
        json["cache"] = make_cache(*cache);
    }
    if (block_times) {
        json["block_times_us"] = make_block_times(*block_times);
    }
    json["elapsed_s"] = make_time(elapsed);
    json["cpu_s"] = make_time(cpu_time);
    json["times_real_time"] = std::round(compute_speed() * 100) / 100;
    json["jobs"] = nbr_jobs;
    add_stems(json, *this);
    return json;
}

} // namespace ulk::host::render
