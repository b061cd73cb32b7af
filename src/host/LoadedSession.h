#pragma once

#include "host/LostClip.h"
#include "host/session/SampleCheck.h"
#include "host/session/Session.h"

#include <functional>
#include <string>
#include <vector>

namespace ulk::host {

// A session and what its samples hold, as renders and live sound begin with it.
struct LoadedSession {
    session::Session session;
    std::vector<session::SampleCheck::Info> info_arr; // by sample; of those unusable, len is 0

    // Reads and checks a session file, and looks into its samples. warn: takes what is to be told
    // beside mistakes, if there is anything; severity: of samples that are missing. Throws an Error
    // that tells all mistakes.
    static LoadedSession load(std::string const& path, session::Diagnostic::Severity severity,
                              std::function<void(std::string const& txt)> const& warn);

    // Those whose samples hold nothing for them.
    std::vector<LostClip> list_lost_clips() const;

    // A time as a user writes it, in s of the session, 0 or more. Throws an Error that names the
    // option.
    double read_time(std::string const& txt, char const* option) const;
};

} // namespace ulk::host
