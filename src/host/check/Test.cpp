#include "host/check/Test.h"

#include "host/Error.h"

#include <array>

namespace ulk::host::check {

namespace {

template <class... Scenarios>
constexpr unsigned mask(Scenarios... scenarios) {
    return (0u | ... | (1u << scenarios));
}

constexpr unsigned all = (1u << Scenario_NBR_ELT) - 1;
constexpr unsigned blocks =
    mask(Scenario_OUTLIVE, Scenario_LIFE, Scenario_PROCESS, Scenario_SAMPLES);

constexpr Test test_arr[] = {
    {"load", "The library loads, exports ulk_entry_point and makes a factory.",
     mask(Scenario_LOAD)},
    {"reload", "The library unloads when its last object is gone, and works when loaded again.",
     mask(Scenario_RELOAD)},
    {"factory", "The factory lists plug-ins with valid identifiers, none twice, and makes each.",
     mask(Scenario_FACTORY)},
    {"instances", "A thousand instances of each plug-in live side by side and go in any order.",
     mask(Scenario_INSTANCES)},
    {"outlive", "Instances work on when the factory is gone.", mask(Scenario_OUTLIVE)},
    {"describe", "Each plug-in describes itself, always alike, in a document that makes sense.",
     mask(Scenario_DESCRIBE)},
    {"commands", "Unknown commands are answered by -1 and change nothing.",
     mask(Scenario_COMMANDS)},
    {"pins", "The declared pin configurations are accepted, can be set and read back.",
     mask(Scenario_PINS)},
    {"params", "Values are within their ranges; locations that do not exist are refused.",
     mask(Scenario_PARAMS)},
    {"life", "Instances can be set up, activated, changed and activated again, and go at any time.",
     mask(Scenario_LIFE)},
    {"process", "Random legal blocks run to their end.", mask(Scenario_PROCESS)},
    {"samples", "Random blocks run with a host that lends samples, missing data included.",
     mask(Scenario_SAMPLES)},

    {"entry-unknown", "The entry point answers unknown commands by -1, without a log function too.",
     mask(Scenario_LOAD)},
    {"factory-refuse",
     "INSTANTIATE refuses what is missing or unknown, and leaves the point alone.",
     mask(Scenario_FACTORY)},
    {"leak", "DESTROY gives all memory of an instance back.", mask(Scenario_INSTANCES)},
    {"describe-room",
     "DESCRIBE without room answers -14499 and writes nothing; just enough will do.",
     mask(Scenario_DESCRIBE)},
    {"pins-negotiate", "What a negotiation accepts or proposes can be set; what it refuses cannot.",
     mask(Scenario_PINS)},
    {"pins-room", "GET_PIN_CONF without room answers -14499; just enough will do.",
     mask(Scenario_PINS)},
    {"params-text", "Values have texts; without room for one the answer is -14499.",
     mask(Scenario_PARAMS)},
    {"params-round-trip", "Values survive the way to their other forms and back.",
     mask(Scenario_PARAMS)},
    {"process-bounds", "PROCESS writes within the channels, and no frame behind the block.",
     blocks},
    {"process-inputs", "PROCESS leaves sounding inputs and events as they are.", blocks},
    {"process-unwanted", "PROCESS sends nothing to outputs that are not wanted.", blocks},
    {"process-states", "Outputs return in a state that fits what is in their buffers.", blocks},
    {"process-signal",
     "Outputs hold no infinity, no denormal number and nothing that is no number.", blocks},
    {"process-repeat", "The same blocks give the same samples in another instance.",
     mask(Scenario_PROCESS)},
    {"real-time",
     "PROCESS and CLEAR_BUFFERS allocate nothing, take no lock and make no system call "
     "(for samples, locks that nobody holds are allowed).",
     blocks},
    {"codes", "Every result is a code of the protocol; PROCESS and DESTROY succeed.", all},
    {"exceptions", "No exception leaves the bundle.", all},
    {"point", "The communication points keep their words.", all},
    {"records", "A command changes nothing in its record but the answer.", all},
    {"room", "Nothing is written beyond the room that a record tells.", all},
    {"rounding", "Floating-point rounding is as it was.", all},
};
static_assert(std::size(test_arr) == TestId_NBR_ELT);

} // namespace

Test const& Test::use(TestId id) {
    return test_arr[id];
}

TestId Test::find(std::string const& name) {
    std::string txt = name + ": no such test; there are";
    for (int id = 0; id < TestId_NBR_ELT; ++id) {
        if (name == test_arr[id].name) {
            return static_cast<TestId>(id);
        }
        txt += std::string("\n  ") + test_arr[id].name;
    }
    throw Error(Error::Kind_USE, txt);
}

} // namespace ulk::host::check
