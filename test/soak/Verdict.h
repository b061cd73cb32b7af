#pragma once

#include <atomic>
#include <mutex>
#include <string>

namespace soak {

// The first thing that went wrong. Any thread.
class Verdict {
public:
    void fail(std::string const& text) {
        std::lock_guard const lock(_mutex);
        if (!_failed_flag) {
            _text = text;
            _failed_flag = true;
        }
    }
    bool is_good() const { return !_failed_flag; }
    std::string get_text() const {
        std::lock_guard const lock(_mutex);
        return _text;
    }

private:
    mutable std::mutex _mutex;
    std::atomic<bool> _failed_flag = false;
    std::string _text;
};

} // namespace soak
