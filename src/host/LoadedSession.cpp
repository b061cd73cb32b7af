#include "host/LoadedSession.h"

#include "host/Error.h"
#include "host/session/SessionReader.h"
#include "host/session/TimeScale.h"
#include "host/session/TimeText.h"

namespace ulk::host {

using session::SampleCheck;

LoadedSession LoadedSession::load(std::string const& path, session::Diagnostic::Severity severity,
                                  std::function<void(std::string const& txt)> const& warn) {
    LoadedSession loaded;
    session::Diagnostics diagnostics;
    loaded.session = session::SessionReader::load(path, diagnostics);
    auto const& file_arr = loaded.session.file_arr;
    diagnostics.check(file_arr);
    loaded.info_arr = SampleCheck::look(loaded.session);
    SampleCheck::report(loaded.session, loaded.info_arr, severity, diagnostics);
    diagnostics.sort();
    diagnostics.check(file_arr);
    if (!diagnostics.use_list().empty()) {
        warn(diagnostics.print(file_arr));
    }
    for (SampleCheck::Info& info : loaded.info_arr) {
        info.len = info.reason.empty() ? info.len : 0;
    }
    return loaded;
}

std::vector<LostClip> LoadedSession::list_lost_clips() const {
    std::vector<LostClip> lost_arr;
    for (session::Session::Track const& track : session.track_arr) {
        for (session::Session::Clip const& clip : track.clips) {
            auto const& info = info_arr[static_cast<std::size_t>(clip.sample)];
            auto const add = [&](char const* reason) {
                lost_arr.push_back({track.name, session.tell(clip.place), clip.at, reason});
            };
            if (info.len == 0 && !track.mute_flag) {
                add("its sample cannot be used");
            } else if (SampleCheck::is_behind_end(clip, info)) {
                add("its offset lies behind the end of the sample");
            }
        }
    }
    return lost_arr;
}

double LoadedSession::read_time(std::string const& txt, char const* option) const {
    session::TimeScale const scale = {session.sample_freq, session.tempo_map};
    auto const written = session::TimeText::parse(txt);
    auto const time = written ? scale.conv(*written, {}) : std::nullopt;
    if (!time || !(*time >= 0)) {
        throw Error(Error::Kind_USE, std::string(option) + " " + txt +
                                         ": is no time of the session, such as 1.5, \"250 ms\", "
                                         "1:02.5 or \"5|2\"");
    }
    return *time;
}

} // namespace ulk::host
