// Boundaries of characters, words and lines.

#include "ulk/txt/unicode/CharData.h"

#include "Database.h"

namespace {

using namespace ulk::txt::unicode;
namespace database = ulk::txt::unicode::test;
using Props = std::vector<int>;

std::string find_lines(Props const& classes, unsigned long* nbr = nullptr) {
    std::vector<LineBreakProp> props;
    for (int const cls : classes) {
        props.push_back(static_cast<LineBreakProp>(cls));
    }
    std::vector<LineBreakAction> actions(props.size() + 1, static_cast<LineBreakAction>(9));
    unsigned long const done = CharData::find_line_breaks(
        actions.data(), props.data(), props.size(), &CharData::find_complex_line_breaks_default);
    std::string text;
    for (LineBreakAction const action : actions) {
        text += static_cast<char>('0' + action);
    }
    EXPECT_EQ(text.substr(done), std::string(text.size() - done, '9')) << "writes behind the end";
    if (nbr != nullptr) {
        *nbr = done;
    }
    return text.substr(0, done);
}

TEST(LineBreakTest, Runs) {
    using P = LineBreakProp;
    constexpr P OP = LineBreakProp_OP, AL = LineBreakProp_AL, ID = LineBreakProp_ID,
                CM = LineBreakProp_CM, SA = LineBreakProp_SA, SP = LineBreakProp_SP,
                BK = LineBreakProp_BK, CR = LineBreakProp_CR, LF = LineBreakProp_LF,
                NL = LineBreakProp_NL;
    struct {
        Props props;
        char const* actions;
    } const rows[] = {
        {{}, ""},
        {{AL}, "5"},
        {{SP}, "5"},
        {{AL, AL}, "45"},
        {{AL, SP, AL}, "415"},
        {{AL, SP, SP, AL}, "4415"},
        {{ID, ID}, "05"},
        {{SP, ID}, "15"}, // as behind a word joiner
        {{OP, SP, AL}, "445"},
        {{AL, BK, AL}, "45"},
        {{BK, AL}, "5"},
        {{LF, AL}, "5"},
        {{NL, AL}, "5"},
        {{CR, AL}, "5"},
        {{CR, LF, AL}, "45"},
        {{AL, CR, LF, AL}, "445"},
        {{AL, CR, CR}, "45"},
        {{AL, SP, LF, AL}, "445"},
        {{CR, SP}, "5"},
        {{AL, CM, AL}, "445"},
        {{ID, CM, CM, ID}, "4405"},
        {{AL, SP, CM, AL}, "4245"},
        {{OP, SP, CM, AL}, "4345"},
        {{OP, CM, AL}, "445"},
        {{SA, SA, SA, SA}, "4445"},
        {{AL, SA, SA, AL}, "4445"},
        {{ID, SA, SA, ID, ID}, "44405"},
        {{SA, SA, LF, SA}, "445"},
        {{SA, SP, AL}, "415"}, // the run ends before the space
        {{AL, SA, SP, AL}, "4415"},
        {{AL, SP, SA, AL}, "4445"}, // but its own end is closed
        {{AL, 28, AL}, "445"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(find_lines(row.props), row.actions);
    }
}

struct ComplexCall {
    LineBreakProp cls;
    LineBreakProp const* props;
    LineBreakAction* actions;
    unsigned long len;
};
std::vector<ComplexCall> complex_calls;
unsigned long complex_answer;

unsigned long note_complex(LineBreakProp cls, LineBreakProp const* props, LineBreakAction* actions,
                           unsigned long len) {
    complex_calls.push_back({cls, props, actions, len});
    actions[0] = LineBreakAction_DIRECT;
    return complex_answer;
}

TEST(LineBreakTest, ComplexRunsGoToTheirFunction) {
    LineBreakProp const props[] = {LineBreakProp_AL, LineBreakProp_SP, LineBreakProp_SA,
                                   LineBreakProp_SA, LineBreakProp_AL};
    LineBreakAction actions[5];
    complex_calls.clear();
    complex_answer = 1;
    ASSERT_EQ(CharData::find_line_breaks(actions, props, 5, &note_complex), 5U);
    ASSERT_EQ(complex_calls.size(), 3U);
    EXPECT_EQ(complex_calls[0].cls, LineBreakProp_AL);
    EXPECT_EQ(complex_calls[0].props, props + 1);
    EXPECT_EQ(complex_calls[0].actions, actions + 1);
    EXPECT_EQ(complex_calls[0].len, 4U);
    EXPECT_EQ(complex_calls[1].cls, LineBreakProp_SA);
    EXPECT_EQ(complex_calls[2].len, 2U);
    EXPECT_EQ(actions[0], LineBreakAction_PROHIBITED);
    EXPECT_EQ(actions[3], LineBreakAction_DIRECT);
    EXPECT_EQ(actions[4], LineBreakAction_EXPLICIT);
    // A wrong answer neither hangs the search nor takes it past the end.
    for (unsigned long const answer : {0UL, 1000UL, ~0UL}) {
        complex_answer = answer;
        EXPECT_EQ(CharData::find_line_breaks(actions, props, 5, &note_complex), 5U);
        EXPECT_EQ(actions[4], LineBreakAction_EXPLICIT);
    }
}

TEST(LineBreakTest, DefaultForComplexRuns) {
    LineBreakProp const props[] = {LineBreakProp_AL, LineBreakProp_SA, LineBreakProp_SA,
                                   LineBreakProp_ID, LineBreakProp_SA};
    LineBreakAction actions[6];
    std::fill(std::begin(actions), std::end(actions), LineBreakAction_DIRECT);
    EXPECT_EQ(CharData::find_complex_line_breaks_default(LineBreakProp_AL, props, actions, 5), 3U);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(actions[i], i < 3 ? LineBreakAction_PROHIBITED : LineBreakAction_DIRECT);
    }
    EXPECT_EQ(CharData::find_complex_line_breaks_default(LineBreakProp_AL, props, actions, 3), 2U);
}

char const* const line_table[26] = {
    "44444444444444444443444444", "04114444110001110042400000", "44111444111111111142411111",
    "14111444111111111142411111", "04111444000001110042400000", "04111444000001110042400000",
    "04111444001001110042400000", "04111444001101110042400000", "14111444001111110042411111",
    "14111444001101110042400000", "14111444111101110042400000", "14111444111101110042400000",
    "04111444010001110042400000", "04111444000001110042400000", "04101444001001110042400000",
    "04101444000001110042400000", "14111444111111111142411111", "04111444000001110442400000",
    "00000000000000000040000000", "14111444111101110042400000", "14111444111111111142411111",
    "04111444010001110042400011", "04111444010001110042400001", "04111444010001110042411110",
    "04111444010001110042400011", "04111444010001110042400001"};

TEST(LineBreakTest, PairsFollowTheTable) {
    for (int before = 0; before < 26; ++before) {
        for (int after = 0; after < 26; ++after) {
            char const cell = line_table[before][after];
            bool const conditional = cell >= '1' && cell <= '3';
            std::string const close = {conditional ? '4' : cell, '5'};
            EXPECT_EQ(find_lines({before, after}), close) << before << ' ' << after;
            std::string const apart = {'4', cell, '5'};
            EXPECT_EQ(find_lines({before, 27, after}), apart) << before << ' ' << after;
        }
    }
}

// The action behind character pos, found by looking back from it: no state is carried on.
char model_line(Props const& props, std::size_t pos) {
    int const after = props[pos + 1];
    if (after == 27) {
        return '4';
    }
    std::size_t back = pos;
    while (back > 0 && props[back] == 27) {
        --back;
    }
    bool const space = props[pos] == 27;
    // A mark goes with what it stands on, unless that is a space, the start or a zero-width space.
    while (back > 0 && props[back] == 19 && props[back - 1] != 27 && props[back - 1] != 18) {
        --back;
    }
    char const cell = line_table[props[back] == 27 ? 20 : props[back]][after];
    return !space && cell >= '1' && cell <= '3' ? '4' : cell;
}

TEST(LineBreakTest, RunsFollowTheModel) {
    std::mt19937 rnd(9);
    for (int i = 0; i < 20000; ++i) {
        Props props(1 + rnd() % 30);
        for (int& prop : props) {
            int const kind = static_cast<int>(rnd() % 6);
            prop = kind == 0 ? 27 : kind == 1 ? 19 : static_cast<int>(rnd() % 26);
        }
        std::string want;
        for (std::size_t pos = 0; pos + 1 < props.size(); ++pos) {
            want += model_line(props, pos);
        }
        ASSERT_EQ(find_lines(props), want + '5') << ::testing::PrintToString(props);
    }
}

TEST(LineBreakTest, ConformanceFile) {
    int nbr_good = 0;
    auto const cases = database::load_break_cases("LineBreakTest.txt");
    for (auto const& one : cases) {
        std::vector<bool> breaks;
        while (breaks.size() < one.chars.size()) {
            Props props;
            for (std::size_t pos = breaks.size(); pos < one.chars.size(); ++pos) {
                props.push_back(CharData::get_line_break_prop(one.chars[pos]));
            }
            for (char const action : find_lines(props)) {
                breaks.push_back(action <= '2' || action == '5');
            }
        }
        nbr_good += breaks == one.breaks;
    }
    EXPECT_EQ(cases.size(), 7654U);
    EXPECT_EQ(nbr_good, 7395);
}

TEST(GraphemeBreakTest, PairsFollowTheRules) {
    char const* const joined[12] = {// Other CR LF Control Extend Prepend SpacingMark L V T LV LVT
                                    "000010100000", "001000000000", "000000000000", "000000000000",
                                    "000010100000", "100011111111", "000010100000", "000010111011",
                                    "000010101100", "000010100100", "000010101100", "000010100100"};
    // A code point of each class
    long const chars[12] = {'a',   '\r',   '\n',   1,      0x300,  0x600,
                            0x903, 0x1100, 0x1160, 0x11A8, 0xAC00, 0xAC01};
    for (int a = 0; a < 12; ++a) {
        ASSERT_EQ(CharData::get_grapheme_break_prop(chars[a]), a);
        for (int b = 0; b < 12; ++b) {
            EXPECT_EQ(CharData::is_grapheme_cluster_boundary(chars[a], chars[b]),
                      joined[a][b] == '0')
                << a << ' ' << b;
        }
    }
}

TEST(GraphemeBreakTest, ConformanceFile) {
    int nbr_good = 0;
    auto const cases = database::load_break_cases("GraphemeBreakTest.txt");
    for (auto const& one : cases) {
        bool good = true;
        for (std::size_t pos = 0; pos + 1 < one.chars.size(); ++pos) {
            good = good && CharData::is_grapheme_cluster_boundary(
                               one.chars[pos], one.chars[pos + 1]) == one.breaks[pos];
        }
        nbr_good += good;
    }
    EXPECT_EQ(cases.size(), 602U);
    EXPECT_EQ(nbr_good, 592);
}

std::vector<bool> find_words(std::vector<WordBreakProp> const& props) {
    std::vector<unsigned char> breaks(props.size() + 1, 9);
    CharData::find_word_breaks(breaks.data(), props.data(), props.size());
    std::size_t const nbr = props.empty() ? 0 : props.size() - 1;
    std::vector<bool> result;
    for (std::size_t i = 0; i < nbr; ++i) {
        EXPECT_LE(breaks[i], 1);
        result.push_back(breaks[i] == 1);
    }
    EXPECT_EQ(breaks[nbr], 9) << "writes behind the end";
    return result;
}

std::vector<WordBreakProp> find_word_props(std::u32string const& text) {
    std::vector<WordBreakProp> props;
    for (char32_t const c : text) {
        props.push_back(CharData::get_word_break_prop(static_cast<long>(c)));
    }
    return props;
}

TEST(WordBreakTest, Texts) {
    struct {
        std::u32string text;
        std::string breaks;
    } const rows[] = {
        {U"", ""},
        {U"a", ""},
        {U"can't", "0000"},
        {U"3.14", "000"},
        {U"a b", "11"},
        {U"a.", "1"},
        {U"a. b", "111"},
        {U"3.a", "11"},
        {U"a.3", "11"},
        {U"1,000", "0000"},
        {U"a,b", "11"},
        {U"a  b", "101"},
        {U"can\u0308'\u0308t\u0308", "0000000"},
        {U"\r\n", "0"},
        {U"\n\u0308a", "11"},
        {U"\u0308a", "1"}, // a mark without base is no part of a word
        {U"a_1", "00"},
        {U"\u05D0'", "0"},
        {U"\u05D0\"\u05D0", "00"},
        {U"\u05D0\"a", "11"},
        {U"\U0001F1E6\U0001F1E7\U0001F1E8\U0001F1E9", "010"},
        {U"a\U0001F1E6\u200D\U0001F1E7\U0001F1E8", "1001"},
    };
    for (auto const& row : rows) {
        std::string breaks;
        for (bool const flag : find_words(find_word_props(row.text))) {
            breaks += flag ? '1' : '0';
        }
        EXPECT_EQ(breaks, row.breaks);
    }
}

// The rules one after the other, each by looking at the text round the place.
class WordModel {
public:
    explicit WordModel(std::vector<WordBreakProp> const& props)
        : _props(props) {}

    bool is_break(std::size_t pos) const {
        using W = WordBreakProp;
        W const left = _props[pos];
        W const right = _props[pos + 1];
        if (left == WordBreakProp_CR && right == WordBreakProp_LF) {
            return false;
        }
        if (is_newline(left) || is_newline(right)) {
            return true;
        }
        if (left == WordBreakProp_W_SEG_SPACE && right == WordBreakProp_W_SEG_SPACE) {
            return false;
        }
        if (is_ignored(right)) {
            return false;
        }
        long const a_pos = find_before(static_cast<long>(pos) + 1);
        int const a = at(a_pos);
        int const before = at(find_before(a_pos));
        int const after = at(find_after(static_cast<long>(pos) + 1));
        int const b = right;
        if (is_letter(a) && is_letter(b)) {
            return false;
        }
        if (is_letter(a) && is_mid_letter(b) && is_letter(after)) {
            return false;
        }
        if (is_letter(before) && is_mid_letter(a) && is_letter(b)) {
            return false;
        }
        int const hebrew = WordBreakProp_HEBREW_LETTER;
        int const quote = WordBreakProp_DOUBLE_QUOTE;
        if (a == hebrew && (b == WordBreakProp_SINGLE_QUOTE || (b == quote && after == hebrew))) {
            return false;
        }
        if (before == hebrew && a == quote && b == hebrew) {
            return false;
        }
        int const digit = WordBreakProp_NUMERIC;
        if ((a == digit || is_letter(a)) && (b == digit || is_letter(b))) {
            return false;
        }
        if ((before == digit && is_mid_num(a) && b == digit) ||
            (a == digit && is_mid_num(b) && after == digit)) {
            return false;
        }
        if (a == WordBreakProp_KATAKANA && b == WordBreakProp_KATAKANA) {
            return false;
        }
        int const link = WordBreakProp_EXTEND_NUM_LET;
        if ((b == link && (a == link || is_linked(a))) || (a == link && is_linked(b))) {
            return false;
        }
        return !(b == WordBreakProp_REGIONAL_INDICATOR && count_indicators(a_pos) % 2 == 1);
    }

private:
    static bool is_newline(int p) {
        return p == WordBreakProp_CR || p == WordBreakProp_LF || p == WordBreakProp_NEWLINE;
    }
    static bool is_ignored(int p) {
        return p == WordBreakProp_EXTEND || p == WordBreakProp_FORMAT || p == WordBreakProp_ZWJ;
    }
    static bool is_letter(int p) {
        return p == WordBreakProp_A_LETTER || p == WordBreakProp_HEBREW_LETTER;
    }
    static bool is_mid_num_let(int p) {
        return p == WordBreakProp_MID_NUM_LET || p == WordBreakProp_SINGLE_QUOTE;
    }
    static bool is_mid_letter(int p) { return p == WordBreakProp_MID_LETTER || is_mid_num_let(p); }
    static bool is_mid_num(int p) { return p == WordBreakProp_MID_NUM || is_mid_num_let(p); }
    static bool is_linked(int p) {
        return is_letter(p) || p == WordBreakProp_NUMERIC || p == WordBreakProp_KATAKANA;
    }

    int at(long pos) const {
        bool const inside = pos >= 0 && pos < static_cast<long>(_props.size());
        return inside ? static_cast<int>(_props[static_cast<std::size_t>(pos)]) : -1;
    }
    // The base before pos: what is ignored belongs to it, at the start of a line to itself.
    long find_before(long pos) const {
        --pos;
        while (pos > 0 && is_ignored(at(pos)) && !is_newline(at(pos - 1))) {
            --pos;
        }
        return pos;
    }
    long find_after(long pos) const {
        do {
            ++pos;
        } while (is_ignored(at(pos)));
        return pos;
    }
    int count_indicators(long pos) const {
        int nbr = 0;
        while (at(pos) == WordBreakProp_REGIONAL_INDICATOR) {
            ++nbr;
            pos = find_before(pos);
        }
        return nbr;
    }

    std::vector<WordBreakProp> const& _props;
};

TEST(WordBreakTest, FollowsTheModel) {
    std::mt19937 rnd(10);
    for (int i = 0; i < 50000; ++i) {
        std::vector<WordBreakProp> props(rnd() % 16);
        bool const dense = rnd() % 2 == 0;
        static constexpr WordBreakProp common[] = {
            WordBreakProp_A_LETTER,           WordBreakProp_HEBREW_LETTER, WordBreakProp_NUMERIC,
            WordBreakProp_MID_NUM_LET,        WordBreakProp_DOUBLE_QUOTE,  WordBreakProp_EXTEND,
            WordBreakProp_REGIONAL_INDICATOR, WordBreakProp_W_SEG_SPACE};
        for (WordBreakProp& prop : props) {
            prop = dense ? common[rnd() % 8] : static_cast<WordBreakProp>(rnd() % 19);
        }
        std::vector<bool> const breaks = find_words(props);
        WordModel const model(props);
        for (std::size_t pos = 0; pos < breaks.size(); ++pos) {
            ASSERT_EQ(breaks[pos], model.is_break(pos))
                << pos << ' ' << ::testing::PrintToString(Props(props.begin(), props.end()));
        }
    }
}

TEST(WordBreakTest, ConformanceFile) {
    int nbr_good = 0;
    auto const cases = database::load_break_cases("WordBreakTest.txt");
    for (auto const& one : cases) {
        std::vector<WordBreakProp> props;
        for (Char const c : one.chars) {
            props.push_back(CharData::get_word_break_prop(c));
        }
        std::vector<bool> breaks = find_words(props);
        breaks.push_back(true);
        nbr_good += breaks == one.breaks;
    }
    EXPECT_EQ(cases.size(), 1823U);
    EXPECT_EQ(nbr_good, 1814);
}

} // namespace
