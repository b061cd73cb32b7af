#pragma once

#include "host/Bundle.h"
#include "host/check/CheckingTap.h"
#include "host/check/Dice.h"
#include "host/check/Findings.h"
#include "host/check/Subject.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace ulk::host::check {

// What a scenario works with. It lives in the process of the scenario alone.
class Session {
public:
    Session(std::string const& path, std::uint64_t random_seed)
        : bundle_path(path)
        , seed(random_seed) {}

    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;

    // The bundle behind the tap; its log lines go nowhere.
    std::unique_ptr<Bundle> load();
    // An instance of each plug-in in turn; what it throws becomes a finding of test id, unless
    // something was found already. dice: differ by plug-in.
    using Body = std::function<void(Plugin& plugin, Dice& dice)>;
    void for_each_plugin(TestId id, HostInterface* host, Body const& body);
    // Calls fnc, with its Error as a finding.
    void guard(TestId id, std::function<void()> const& fnc);

    std::string const bundle_path;
    std::uint64_t const seed;
    Findings findings;
    CheckingTap tap{findings};
};

} // namespace ulk::host::check
