#include "host/check/Findings.h"

#include <nlohmann/json.hpp>

namespace ulk::host::check {

namespace {

using Json = nlohmann::json;

} // namespace

std::string Findings::serialise() const {
    Json list = Json::array();
    for (auto const& [id, txt] : _map) {
        list.push_back({{"id", static_cast<int>(id)}, {"txt", txt}});
    }
    // Texts may hold what a bundle wrote.
    return Json{{"findings", list}, {"skip", _skip_reason}}.dump(-1, ' ', false,
                                                                 Json::error_handler_t::replace);
}

Findings Findings::parse(std::string const& txt) {
    Findings findings;
    Json const json = Json::parse(txt, nullptr, false);
    if (json.is_object()) {
        for (Json const& elt : json.value("findings", Json::array())) {
            findings.add(static_cast<TestId>(elt.value("id", 0)), elt.value("txt", ""));
        }
        findings.skip(json.value("skip", ""));
    }
    return findings;
}

} // namespace ulk::host::check
