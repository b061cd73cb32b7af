#include "host/session/Nearest.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ulk::host::session {

namespace {

constexpr std::size_t max_nbr = 20000; // names looked through
constexpr std::size_t max_len = 64;    // of names that are compared

char fold(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

int Nearest::get_distance(std::string_view a, std::string_view b, int limit) {
    std::size_t const diff = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (diff > static_cast<std::size_t>(limit)) {
        return limit + 1;
    }
    // Rows of the table of distances between all beginnings of a and b: two back, last, present.
    std::vector<int> row_arr[3];
    for (auto& row : row_arr) {
        row.resize(b.size() + 1);
    }
    auto& [before, last, row] = row_arr;
    for (std::size_t col = 0; col <= b.size(); ++col) {
        row[col] = static_cast<int>(col);
    }
    for (std::size_t pos = 1; pos <= a.size(); ++pos) {
        std::swap(before, last);
        std::swap(last, row);
        row[0] = static_cast<int>(pos);
        for (std::size_t col = 1; col <= b.size(); ++col) {
            char const ca = fold(a[pos - 1]);
            char const cb = fold(b[col - 1]);
            row[col] = std::min({last[col] + 1, row[col - 1] + 1, last[col - 1] + (ca != cb)});
            if (pos > 1 && col > 1 && ca == fold(b[col - 2]) && cb == fold(a[pos - 2])) {
                row[col] = std::min(row[col], before[col - 2] + 1);
            }
        }
        if (*std::min_element(row.begin(), row.end()) > limit) {
            return limit + 1;
        }
    }
    return std::min(row.back(), limit + 1);
}

std::string_view Nearest::find(std::string_view name,
                               std::vector<std::string_view> const& name_arr) {
    if (name.empty() || name.size() > max_len) {
        return {};
    }
    int best_distance = static_cast<int>(max_len);
    std::string_view best;
    for (std::size_t pos = 0; pos < std::min(name_arr.size(), max_nbr); ++pos) {
        // A third of the letters may be wrong.
        auto const len = static_cast<int>(std::max(name.size(), name_arr[pos].size()));
        int const limit = std::min(std::max(len / 3, 1), best_distance - 1);
        int const distance = get_distance(name, name_arr[pos], limit);
        if (distance <= limit) {
            best_distance = distance;
            best = name_arr[pos];
        }
    }
    return best;
}

std::string Nearest::ask(std::string_view name, std::vector<std::string_view> const& name_arr) {
    std::string_view const best = find(name, name_arr);
    return best.empty() ? "" : "; did you mean \"" + std::string(best) + "\"?";
}

} // namespace ulk::host::session
