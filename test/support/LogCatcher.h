#pragma once

#include "ulk/udbg/LogMgr.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test {

// The log lines of all threads while it lives, each as "E text", "W text" or "I text". A program
// that includes this has its log statements go nowhere else. Not nested.
class LogCatcher {
public:
    LogCatcher() { use_shared().catcher_ptr = this; }
    LogCatcher(LogCatcher const&) = delete;
    LogCatcher& operator=(LogCatcher const&) = delete;
    ~LogCatcher() {
        std::lock_guard const lock(use_shared().mutex);
        use_shared().catcher_ptr = nullptr;
    }

    // The lines since the last call.
    std::vector<std::string> take() {
        std::lock_guard const lock(use_shared().mutex);
        return std::exchange(_line_list, {});
    }
    // The signatures of the functions that wrote them, since the last call.
    std::vector<std::string> take_functions() {
        std::lock_guard const lock(use_shared().mutex);
        return std::exchange(_function_list, {});
    }

private:
    struct Shared {
        std::mutex mutex;
        LogCatcher* catcher_ptr = nullptr;
    };

    static Shared& use_shared() {
        static Shared shared;
        return shared;
    }

    static int receive(int, void* data) {
        auto const& record = *static_cast<ulk::udbg::LogMgr::Record const*>(data);
        std::lock_guard const lock(use_shared().mutex);
        if (auto* const catcher_ptr = use_shared().catcher_ptr; catcher_ptr != nullptr) {
            char const* const level = record.level == 2   ? "E "
                                      : record.level == 3 ? "W "
                                      : record.level == 4 ? "I "
                                                          : "? ";
            catcher_ptr->_line_list.push_back(std::string(level) + record.text);
            catcher_ptr->_function_list.emplace_back(record.function);
        }
        return 0;
    }

    static bool install() {
        ulk::udbg::LogMgr::create_as_plugin("test", receive);
        return true;
    }

    // Before main(), because the first log statement settles where all go.
    static inline bool const _installed_flag = install();

    std::vector<std::string> _line_list;
    std::vector<std::string> _function_list;
};

} // namespace test
