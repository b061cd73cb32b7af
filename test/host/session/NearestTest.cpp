#include "host/session/Nearest.h"

#include <gtest/gtest.h>

#include <random>

using ulk::host::session::Nearest;

namespace {

// The definition, without any table: the least of all ways to end.
int get_slow_distance(std::string_view a, std::string_view b) {
    if (a.empty() || b.empty()) {
        return static_cast<int>(a.size() + b.size());
    }
    std::string_view const rest_a = a.substr(0, a.size() - 1);
    std::string_view const rest_b = b.substr(0, b.size() - 1);
    int best = std::min({get_slow_distance(rest_a, b) + 1, get_slow_distance(a, rest_b) + 1,
                         get_slow_distance(rest_a, rest_b) + (a.back() != b.back())});
    if (!rest_a.empty() && !rest_b.empty() && a.back() == rest_b.back() &&
        b.back() == rest_a.back()) {
        best = std::min(best, get_slow_distance(rest_a.substr(0, rest_a.size() - 1),
                                                rest_b.substr(0, rest_b.size() - 1)) +
                                  1);
    }
    return best;
}

std::string make_word(std::mt19937& rnd) {
    std::string word(rnd() % 6, ' ');
    for (char& c : word) {
        c = static_cast<char>('a' + rnd() % 3);
    }
    return word;
}

} // namespace

TEST(NearestTest, CountsChangesAsTheirDefinitionDoes) {
    std::mt19937 rnd(1);
    for (int i = 0; i < 3000; ++i) {
        std::string const a = make_word(rnd);
        std::string const b = make_word(rnd);
        int const limit = static_cast<int>(rnd() % 6);
        EXPECT_EQ(std::min(get_slow_distance(a, b), limit + 1), Nearest::get_distance(a, b, limit))
            << a << " " << b << " " << limit;
    }
}

TEST(NearestTest, FindsWhatWasMeant) {
    std::vector<std::string_view> const name_arr = {"gain", "pan", "fade_in", "fade_out", "at"};
    EXPECT_EQ("gain", Nearest::find("gian", name_arr));
    EXPECT_EQ("gain", Nearest::find("Gain", name_arr));
    EXPECT_EQ("fade_in", Nearest::find("fadein", name_arr));
    EXPECT_EQ("at", Nearest::find("a", name_arr));
    EXPECT_EQ("", Nearest::find("reverb", name_arr));
    EXPECT_EQ("", Nearest::find("", name_arr));
    EXPECT_EQ("", Nearest::find(std::string(1000, 'g'), name_arr));
    EXPECT_EQ("; did you mean \"pan\"?", Nearest::ask("pam", name_arr));
    EXPECT_EQ("", Nearest::ask("loudness", name_arr));
}
