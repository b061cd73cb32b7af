#pragma once

#include <atomic>
#include <optional>

namespace ulk::host::live {

// Told by one thread when it knows, asked by another one. real-time
class LateFlag {
public:
    void set(bool val) { _state = val ? State_SET : State_CLEAR; }
    std::optional<bool> get() const {
        State const state = _state;
        return state == State_UNKNOWN ? std::nullopt : std::optional(state == State_SET);
    }

private:
    enum State : int { State_UNKNOWN, State_CLEAR, State_SET };

    std::atomic<State> _state = State_UNKNOWN;
};

} // namespace ulk::host::live
