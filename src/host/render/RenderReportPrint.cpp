#include "host/render/RenderReport.h"
#include "host/render/TimeText.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace ulk::host::render {

namespace {

constexpr std::size_t max_list_len = 10; // longer lists are cut

[[gnu::format(printf, 1, 2)]] std::string format_text(char const* format, ...) {
    std::va_list args;
    va_start(args, format);
    std::va_list again;
    va_copy(again, args);
    auto const len = std::vsnprintf(nullptr, 0, format, args);
    std::string txt(static_cast<std::size_t>(len), '\0');
    std::vsnprintf(txt.data(), txt.size() + 1, format, again);
    va_end(again);
    va_end(args);
    return txt;
}

std::string print_level(double db, char const* unit) {
    return std::isfinite(db) ? format_text("%.2f %s", db, unit) : "silent";
}

std::string print_count(long long count, std::string const& one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string print_duration(double ns) {
    return ns < 1e6 ? format_text("%.1f us", ns / 1e3) : format_text("%.2f ms", ns / 1e6);
}

// Lines of a label and a text, the texts below each other.
class Lines {
public:
    void add(std::string label, std::string const& txt) {
        label.resize(std::max(label.size() + 1, std::size_t{_column}), ' ');
        _txt += label + txt + "\n";
    }

    // A line for each of the first ones; the label stands before the first.
    template <class T, class F>
    void add_list(char const* label, T const& list, F print) {
        for (std::size_t pos = 0; pos < std::min(list.size(), max_list_len); ++pos) {
            add(pos == 0 ? label : "", print(list[pos]));
        }
        if (list.size() > max_list_len) {
            add("", format_text("... and %zu more", list.size() - max_list_len));
        }
    }

    std::string const& get() const { return _txt; }

private:
    static constexpr int _column = 10;

    std::string _txt;
};

void add_head(Lines& lines, RenderReport const& report) {
    lines.add("session", report.session);
    lines.add_list("output", report.paths, [](std::string const& path) {
        return path == "-" ? std::string("standard output") : path;
    });
    lines.add("format",
              report.format.get_name() + format_text(", %.10g Hz, ", report.format.sample_freq) +
                  print_count(report.format.nbr_chn, "channel") + ", quality " + report.quality);
    lines.add("length", TimeText::print(report.compute_duration(), 3) + ", " +
                            print_count(report.nbr_frames, "frame") +
                            format_text(" in blocks of %ld", report.block_len) +
                            (report.stopped_flag ? ", stopped before the end" : ""));
}

void add_sound(Lines& lines, Meter::Figures const& sound) {
    std::string channels;
    for (double const peak : sound.peak_arr) {
        channels += (channels.empty() ? "" : ", ") +
                    (std::isfinite(peak) ? format_text("%.2f", peak) : std::string("silent"));
    }
    lines.add("peak", print_level(sound.peak, "dBFS") +
                          (sound.peak_arr.size() > 1 ? " (" + channels + ")" : "") +
                          ", true peak " + print_level(sound.true_peak, "dBTP"));
    lines.add("loudness", print_level(sound.loudness, "LUFS") +
                              format_text(", range %.2f LU", sound.loudness_range));
    if (sound.nbr_clipped > 0) {
        lines.add("CLIPPED", print_count(sound.nbr_clipped, "frame"));
    }
    if (sound.nbr_non_finite > 0) {
        lines.add("BROKEN", print_count(sound.nbr_non_finite, "sample") + " not finite");
    }
    lines.add("hash", format_text("%016" PRIx64, sound.hash));
}

void add_notes(Lines& lines, RenderReport const& report) {
    lines.add("notes", std::to_string(report.nbr_notes) + " played, up to " +
                           print_count(report.max_nbr_voices, "voice") + " at once");
    lines.add_list("DROPPED", report.lost_clips, [](LostClip const& clip) {
        return clip.place + ", at " + TimeText::print(clip.time, 3) + " on " + clip.track + ": " +
               clip.reason;
    });
    lines.add_list("MISSING", report.missing_samples,
                   [](RenderReport::MissingSample const& sample) {
                       return sample.path + " (" + sample.place + "): " + sample.reason;
                   });
    lines.add_list("HOLES", report.holes, [](RenderReport::Hole const& hole) {
        return hole.place + ", at " + TimeText::print(hole.time, 3) + ": " +
               print_count(hole.nbr_frames, "frame");
    });
}

void add_cache(Lines& lines, RenderReport::Cache const& cache) {
    auto const mib = static_cast<double>(cache.memory_len) / (1 << 20);
    lines.add("cache", print_count(cache.nbr_cells, "cell") +
                           format_text(" (%.1f MiB), up to %ld in use, %lld read in ", mib,
                                       cache.max_nbr_cells, cache.nbr_cells_read) +
                           print_count(cache.nbr_slices, "slice") + ", " +
                           print_count(cache.nbr_prefetches, "prefetch call") + ", " +
                           print_count(cache.nbr_waits, "wait"));
}

void add_block_times(Lines& lines, Percentiles const& times) {
    lines.add("blocks", print_count(times.get_count(), "block") + ", half within " +
                            print_duration(times.find(0.5)) + ", 90 % " +
                            print_duration(times.find(0.9)) + ", 99 % " +
                            print_duration(times.find(0.99)) + ", 99.9 % " +
                            print_duration(times.find(0.999)) + ", all " +
                            print_duration(static_cast<double>(times.get_max())));
}

void add_stems(Lines& lines, RenderReport const& report) {
    lines.add_list("stems", report.stems, [](RenderReport::Stem const& stem) {
        return stem.name + ", peak " + print_level(stem.peak, "dBFS") + ": " + stem.path;
    });
    if (report.stem_deviation) {
        lines.add("", std::isfinite(*report.stem_deviation)
                          ? format_text("their sum is within %.1f dBFS of the mix",
                                        *report.stem_deviation)
                          : "their sum is the mix, bit for bit");
    }
}

} // namespace

std::string RenderReport::print() const {
    Lines lines;
    add_head(lines, *this);
    if (sound) {
        add_sound(lines, *sound);
    }
    add_notes(lines, *this);
    if (cache) {
        add_cache(lines, *cache);
    }
    if (block_times) {
        add_block_times(lines, *block_times);
    }
    add_stems(lines, *this);
    lines.add("time", format_text("%.3f s (processor %.3f s, ", elapsed, cpu_time) +
                          print_count(nbr_jobs, "job") +
                          format_text("), %.0f times faster than real time", compute_speed()));
    return lines.get();
}

} // namespace ulk::host::render
