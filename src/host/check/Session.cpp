#include "host/check/Session.h"

#include "host/Error.h"
#include "ulk/sys/RealTimeGuard.h"

namespace ulk::host::check {

namespace {

int swallow_log(int, void*) {
    return 0;
}

} // namespace

std::unique_ptr<Bundle> Session::load() {
    tap.set_subject("the factory");
    return std::make_unique<Bundle>(bundle_path, &tap, &swallow_log);
}

void Session::for_each_plugin(TestId id, HostInterface* host, Body const& body) {
    auto const bundle = load();
    std::uint64_t nbr = 0;
    for (std::string const& plug_id : bundle->list_plugins()) {
        Dice dice(seed + 1000 * ++nbr);
        guard(id, [&] {
            tap.set_subject(plug_id);
            body(*bundle->instantiate(plug_id, host), dice);
        });
    }
    tap.set_subject("the factory");
}

void Session::guard(TestId id, std::function<void()> const& fnc) {
    try {
        fnc();
    } catch (Error const& e) {
        if (findings.is_empty()) {
            findings.add(id, e.what());
        }
    }
}

} // namespace ulk::host::check
