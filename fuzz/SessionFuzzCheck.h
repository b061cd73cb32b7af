#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/Session.h"
#include "host/session/ValueReader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

// What holds for every session that was read without a mistake, and for every mistake.
class SessionFuzzCheck {
public:
    using Session = ulk::host::session::Session;
    using Diagnostics = ulk::host::session::Diagnostics;

    static void check(bool ok_flag) {
        if (!ok_flag) {
            std::abort();
        }
    }

    // txt: of the first file.
    static void check_diagnostics(Diagnostics const& diagnostics, Session const& session,
                                  std::string_view txt) {
        check(diagnostics.has_error() == (diagnostics.get_nbr_errors() > 0));
        auto const nbr_lines = std::count(txt.begin(), txt.end(), '\n') + 1;
        for (auto const& d : diagnostics.use_list()) {
            check(d.place.line >= 1 && d.place.column >= 1 && !d.text.empty());
            check(static_cast<std::size_t>(d.place.file) < session.file_arr.size());
            check(d.place.file > 0 || d.place.line <= nbr_lines + 1);
            check(std::none_of(d.text.begin(), d.text.end(),
                               [](char c) { return static_cast<unsigned char>(c) < 9; }));
        }
        diagnostics.print(session.file_arr);
    }

    static void check_session(Session const& session) {
        auto const nbr_tracks = static_cast<int>(session.track_arr.size());
        check(session.sample_freq >= 8000 && session.sample_freq <= 384000 && nbr_tracks > 0);
        check_chn(session.nbr_chn);
        check_time(session.tail, 0);
        check_levels(session.volume);
        double last = 0;
        for (auto const& cue : session.cue_arr) {
            check(!cue.name.empty());
            check_time(cue.time, last);
            last = cue.time;
        }
        for (auto const& track : session.track_arr) {
            check_chn(track.nbr_chn);
            check_levels(track.volume);
            check(!track.name.empty());
            check_way(session, track);
            for (auto const& insert : track.inserts) {
                check_insert(insert, nbr_tracks);
            }
            for (auto const& clip : track.clips) {
                check_clip(clip, session.sample_arr.size());
            }
        }
    }

    static void check_clip(Session::Clip const& clip, std::size_t nbr_samples) {
        using ulk::host::session::ValueReader;
        check(static_cast<std::size_t>(clip.sample) < nbr_samples);
        check_time(clip.at, -ValueReader::max_time);
        check_time(clip.offset, 0);
        check_time(clip.fade_in, 0);
        check_time(clip.fade_out, 0);
        check(clip.length > 0);
        check(clip.length == Session::to_the_end || clip.length <= ValueReader::max_time);
        check(clip.gain <= 24 && std::abs(clip.pitch) <= 24);
        check(clip.place.line >= 1 && clip.place.column >= 1);
        check_curve(clip.pan, -1, 1);
        if (!clip.volume.empty()) {
            check_levels(clip.volume);
        }
    }

private:
    static void check_chn(int nbr_chn) { check(nbr_chn >= 1 && nbr_chn <= 16); }
    static void check_time(double time, double min) {
        check(time >= min && time <= ulk::host::session::ValueReader::max_time);
    }
    static void check_levels(Session::Curve const& curve) {
        check_curve(curve, Session::silence, 24);
    }
    static void check_curve(Session::Curve const& curve, double min, double max) {
        check(!curve.empty());
        double last = 0;
        for (auto const& point : curve) {
            check_time(point.time, last);
            check(point.val >= min && point.val <= max);
            last = point.time;
        }
    }

    // The sound comes to the mix.
    static void check_way(Session const& session, Session::Track const& track) {
        int output = track.output;
        for (std::size_t nbr = 0; output != Session::master; ++nbr) {
            check(nbr < session.track_arr.size());
            check(output >= 0 && static_cast<std::size_t>(output) < session.track_arr.size());
            output = session.track_arr[static_cast<std::size_t>(output)].output;
        }
    }

    static void check_insert(Session::Insert const& insert, int nbr_tracks) {
        check(!insert.plugin.empty());
        check(insert.dry_track >= 0 && insert.dry_track < nbr_tracks);
        for (auto const& point : insert.params) {
            check_time(point.time, 0);
            check_time(point.ramp, 0);
        }
    }
};
