#pragma once

#include "host/session/Session.h"

#include <string>
#include <variant>
#include <vector>

namespace ulk::host::session {

// A value in a session's file with its place, in whichever language it was written.
struct Node {
    // In one file; many more than a session has that a machine can play, and few enough for memory.
    static constexpr long max_nbr = 5'000'000;
    static std::string print_limit(); // the message of who met more

    struct Field;
    using List = std::vector<Node>;
    using Table = std::vector<Field>; // in the order of the file

    Session::Place place;
    // Whatever has no use in a session, such as a date, is std::monostate.
    std::variant<std::monostate, bool, double, std::string, List, Table> val;

    // What it is, for messages: "a list", or the value itself.
    std::string describe() const;

    // A number in the fewest digits that read back as the same.
    static std::string print_number(double val);
};

struct Node::Field {
    std::string name;
    Session::Place place; // of the name
    Node node;
};

} // namespace ulk::host::session
