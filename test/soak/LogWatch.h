#pragma once

#include "ulk/udbg/LogMgr.h"

#include <array>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace soak {

// Takes all log lines of the program and of the bundle; keeps the errors. Lines come from real-time
// threads as well: fixed memory, and a short lock.
class LogWatch {
public:
    static void install() { ulk::udbg::LogMgr::create_as_plugin("soak", &receive); }
    static int receive(int cmd, void* data) {
        if (cmd == ulk::udbg::LogMgr::CMD_WRITE) {
            use_instance().add(*static_cast<ulk::udbg::LogMgr::Record const*>(data));
        }
        return 0;
    }
    // The errors since the last call; of very many the first and the last ones.
    static std::vector<std::string> take_errors() {
        LogWatch& self = use_instance();
        std::lock_guard const lock(self._mutex);
        std::vector<std::string> list;
        for (std::size_t index = 0; index < self._nbr_lines; ++index) {
            list.emplace_back(self._line_arr[index].data());
        }
        self._nbr_lines = 0;
        return list;
    }

private:
    static LogWatch& use_instance() {
        static LogWatch instance;
        return instance;
    }
    void add(ulk::udbg::LogMgr::Record const& record) {
        std::lock_guard const lock(_mutex);
        if (record.level <= ulk::udbg::Debugger::Level_ERROR) {
            _nbr_lines = std::min(_nbr_lines + 1, _line_arr.size());
            auto& line = _line_arr[_nbr_lines - 1];
            std::strncpy(line.data(), record.text, line.size() - 1);
        }
    }

    std::mutex _mutex;
    std::array<std::array<char, 200>, 256> _line_arr{};
    std::size_t _nbr_lines = 0;
};

} // namespace soak
