#pragma once

#include "host/check/TestId.h"

#include <map>
#include <string>

namespace ulk::host::check {

// What tests have found wrong: the first finding of each.
class Findings {
public:
    void add(TestId id, std::string const& txt) { _map.try_emplace(id, txt); }
    void skip(std::string const& reason) { _skip_reason = reason; }

    bool is_empty() const { return _map.empty(); }
    // Null when the test has found nothing.
    std::string const* find(TestId id) const {
        auto const it = _map.find(id);
        return it != _map.end() ? &it->second : nullptr;
    }
    // Why the scenario's own test says nothing; empty when it does.
    std::string const& get_skip_reason() const { return _skip_reason; }

    // On the way from one process to another.
    std::string serialise() const;
    static Findings parse(std::string const& txt); // what is no findings gives none

private:
    std::map<TestId, std::string> _map;
    std::string _skip_reason;
};

} // namespace ulk::host::check
