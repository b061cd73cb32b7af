#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Guesses which name was meant.
class Nearest {
public:
    // The one that is the fewest changes away from name (a letter added, dropped, replaced, or
    // swapped with its neighbour; capitals count as small letters), or an empty text when none is
    // near enough. Looks through the first names of very long lists alone.
    static std::string_view find(std::string_view name,
                                 std::vector<std::string_view> const& name_arr);

    // "; did you mean \"NAME\"?", or an empty text.
    static std::string ask(std::string_view name, std::vector<std::string_view> const& name_arr);

    // The number of changes from a to b, or limit + 1 if it is above limit.
    static int get_distance(std::string_view a, std::string_view b, int limit);
};

} // namespace ulk::host::session
