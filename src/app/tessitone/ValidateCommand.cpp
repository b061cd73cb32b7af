#include "host/Bundle.h"
#include "host/Error.h"
#include "host/engine/InsertCheck.h"
#include "host/session/SampleCheck.h"
#include "host/session/SessionReader.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace tessitone {

namespace {

using ulk::host::Error;
using ulk::host::engine::InsertCheck;
using namespace ulk::host::session;
using Json = nlohmann::ordered_json;

struct Findings {
    Session session;
    Diagnostics diagnostics;
    long nbr_clips = 0;
    double end = 0; // s, of the last clip
};

Findings look_over(std::string const& path, Context const& context) {
    Findings findings;
    findings.session = SessionReader::load(path, findings.diagnostics);
    auto const info_arr = SampleCheck::look(findings.session);
    SampleCheck::report(findings.session, info_arr, Diagnostic::Severity::ERROR,
                        findings.diagnostics);
    if (InsertCheck::has_insert(findings.session)) {
        try {
            ulk::host::Bundle bundle(context.find_bundle());
            InsertCheck::report(findings.session, bundle, findings.diagnostics);
        } catch (Error const& e) {
            findings.diagnostics.error({}, std::string("no plug-in could be asked: ") + e.what());
        }
        findings.diagnostics.sort();
    }
    for (auto const& track : findings.session.track_arr) {
        for (auto const& clip : track.clips) {
            auto const& info = info_arr[static_cast<std::size_t>(clip.sample)];
            double const duration = SampleCheck::find_duration(clip, info);
            ++findings.nbr_clips;
            findings.end = std::max(findings.end, clip.at + duration);
        }
    }
    return findings;
}

Json make_json(Findings const& findings) {
    auto const& [session, diagnostics, nbr_clips, end] = findings;
    Json json = {{"good", !diagnostics.has_error()},
                 {"session", session.file_arr[0]},
                 {"name", session.name},
                 {"tracks", session.track_arr.size()},
                 {"clips", nbr_clips},
                 {"samples", session.sample_arr.size()},
                 {"end", end},
                 {"errors", diagnostics.get_nbr_errors()},
                 {"warnings", diagnostics.get_nbr_warnings()},
                 {"diagnostics", Json::array()}};
    for (Diagnostic const& d : diagnostics.use_list()) {
        json["diagnostics"].push_back(
            {{"file", session.file_arr[static_cast<std::size_t>(d.place.file)]},
             {"line", d.place.line},
             {"column", d.place.column},
             {"severity", Diagnostic::get_name(d.severity)},
             {"text", d.text}});
    }
    return json;
}

void print(Findings const& findings) {
    auto const& [session, diagnostics, nbr_clips, end] = findings;
    std::fputs(diagnostics.print(session.file_arr).c_str(), stdout);
    if (!diagnostics.has_error()) {
        std::printf(
            "%s: good: tracks %zu, clips %ld, samples %zu, end of the last clip at %.3f s\n",
            session.file_arr[0].c_str(), session.track_arr.size(), nbr_clips,
            session.sample_arr.size(), end);
    }
}

void validate(std::string const& path, bool json_flag, Context const& context) {
    Findings const findings = look_over(path, context);
    if (json_flag) {
        std::fputs(print_json(make_json(findings)).c_str(), stdout);
    } else {
        print(findings);
    }
    if (std::fflush(stdout) != 0) {
        throw Error(Error::Kind_IO, "writing to standard output failed");
    }
    if (findings.diagnostics.has_error()) {
        throw Error(Error::Kind_MATERIAL, path + ": " + findings.diagnostics.print_nbr_errors());
    }
}

} // namespace

void add_validate_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("validate", "Tell all mistakes of a session and its material");
    auto const path = std::make_shared<std::string>();
    auto const json_flag = std::make_shared<bool>(false);
    command->add_option("session", *path, "Session file")->type_name("SESSION")->required();
    command->add_flag("--json", *json_flag, "Print JSON");
    add_bundle_option(*command, context);
    command->callback([path, json_flag, &context] { validate(*path, *json_flag, context); });
}

} // namespace tessitone
