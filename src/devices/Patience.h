#pragma once

#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace ulk::devices {

// Calls to sound systems, which may hang with their servers, and sometimes by themselves.
class Patience {
public:
    class Exhausted : public std::runtime_error {
    public:
        Exhausted()
            : std::runtime_error("it does not answer for " + std::to_string(limit.count()) +
                                 " s; is its server well?") {}
    };

    // fnc(), on a thread of its own; an Exhausted when it takes too long. The thread is left alone
    // then, for good: fnc owns all that it uses.
    template <class F>
    static auto call(F fnc) {
        std::packaged_task<decltype(fnc())()> task(std::move(fnc));
        auto result = task.get_future();
        std::thread(std::move(task)).detach();
        if (result.wait_for(limit) != std::future_status::ready) {
            throw Exhausted();
        }
        return result.get();
    }

private:
    static constexpr std::chrono::seconds limit{10};
};

} // namespace ulk::devices
