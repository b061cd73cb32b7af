#include "ulk/txt/unicode/CharData.h"

#include "Database.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>

namespace {

using namespace ulk::txt::unicode;
namespace database = ulk::txt::unicode::test;
using database::nbr_code_points;
using Numbers = std::map<std::string, int>;

Numbers number(std::string const& names) {
    Numbers numbers;
    std::istringstream stream(names);
    for (std::string name; stream >> name;) {
        numbers.emplace(name, static_cast<int>(numbers.size()));
    }
    return numbers;
}

// What UnicodeData.txt says, its ranges and the unassigned code points filled in.
struct UnicodeData {
    struct Row {
        std::string categ = "Cn";
        std::string bidi;
        long upper = 0;
        long lower = 0;
        long title = 0;
    };
    std::vector<Row> rows{nbr_code_points};

    UnicodeData() {
        std::size_t range_beg = 0;
        database::for_each_line("UnicodeData.txt", [&](std::vector<std::string> fields) {
            fields.resize(15);
            std::size_t const c = std::stoul(fields[0], nullptr, 16);
            if (fields[1].ends_with(", First>")) {
                range_beg = c;
                return;
            }
            auto const target = [](std::string const& field) {
                return field.empty() ? 0 : std::stol(field, nullptr, 16);
            };
            Row const row{fields[2], fields[4], target(fields[12]), target(fields[13]),
                          target(fields[14].empty() ? fields[12] : fields[14])};
            std::size_t const beg = fields[1].ends_with(", Last>") ? range_beg : c;
            std::fill(rows.begin() + static_cast<long>(beg),
                      rows.begin() + static_cast<long>(c) + 1, row);
        });
    }
};

UnicodeData const& use_unicode_data() {
    static UnicodeData const data;
    return data;
}

TEST(CharDataTest, CategoriesAreThoseOfTheDatabase) {
    Numbers numbers;
    int group = 0;
    for (char const* const names :
         {"Lu Ll Lt Lm Lo", "Mn Mc Me", "Nd Nl No", "Pc Pd Ps Pe Pi Pf Po", "Sm Sc Sk So",
          "Zs Zl Zp", "Cc Cf Cs Co Cn"}) {
        std::istringstream stream(names);
        int sub = 0;
        for (std::string name; stream >> name; ++sub) {
            numbers[name] = group * 16 + sub;
        }
        ++group;
    }
    auto const& rows = use_unicode_data().rows;
    for (Char c = 0; c < nbr_code_points; ++c) {
        std::string const& categ = rows[static_cast<std::size_t>(c)].categ;
        ASSERT_EQ(CharData::get_categ(c), numbers.at(categ)) << std::hex << c;
        ASSERT_EQ(CharData::use_info(c).categ, numbers.at(categ)) << std::hex << c;
    }
}

TEST(CharDataTest, CaseMappingsAreThoseOfTheDatabase) {
    int nbr_upper = 0;
    int nbr_lower = 0;
    int nbr_title = 0;
    auto const& rows = use_unicode_data().rows;
    for (Char c = 0; c < nbr_code_points; ++c) {
        auto const& row = rows[static_cast<std::size_t>(c)];
        ASSERT_EQ(CharData::to_upper(c), row.upper != 0 ? row.upper : c) << std::hex << c;
        ASSERT_EQ(CharData::to_lower(c), row.lower != 0 ? row.lower : c) << std::hex << c;
        ASSERT_EQ(CharData::to_title(c), row.title != 0 ? row.title : c) << std::hex << c;
        CharData::Info const& info = CharData::use_info(c);
        ASSERT_TRUE(info.upper != c || c == 0) << "0 stands for no mapping";
        ASSERT_TRUE(info.lower != c || c == 0);
        ASSERT_TRUE(info.title != c || c == 0);
        nbr_upper += info.upper != 0;
        nbr_lower += info.lower != 0;
        nbr_title += info.title != 0;
    }
    EXPECT_EQ(nbr_upper, 1450);
    EXPECT_EQ(nbr_lower, 1433);
    EXPECT_EQ(nbr_title, 1404);
    EXPECT_EQ(CharData::to_title(0x1C4), 0x1C5);
    EXPECT_EQ(CharData::to_upper(0x1C5), 0x1C4);
}

TEST(CharDataTest, GraphemeBreakPropertiesAreThoseOfTheDatabase) {
    Numbers numbers = number("Other CR LF Control Extend Prepend SpacingMark L V T LV LVT");
    numbers["ZWJ"] = GraphemeBreakProp_EXTEND;
    numbers["Regional_Indicator"] = GraphemeBreakProp_OTHER;
    auto const values = database::load_property("auxiliary/GraphemeBreakProperty.txt", "Other");
    for (Char c = 0; c < nbr_code_points; ++c) {
        int const want = numbers.at(values[static_cast<std::size_t>(c)]);
        ASSERT_EQ(CharData::get_grapheme_break_prop(c), want) << std::hex << c;
    }
}

TEST(CharDataTest, WordBreakPropertiesAreThoseOfTheDatabase) {
    Numbers const numbers =
        number("Other CR LF Newline Extend Format Katakana ALetter MidLetter MidNum MidNumLet "
               "Numeric ExtendNumLet Hebrew_Letter Single_Quote Double_Quote Regional_Indicator "
               "ZWJ WSegSpace");
    auto const values = database::load_property("auxiliary/WordBreakProperty.txt", "Other");
    for (Char c = 0; c < nbr_code_points; ++c) {
        int const want = numbers.at(values[static_cast<std::size_t>(c)]);
        ASSERT_EQ(CharData::get_word_break_prop(c), want) << std::hex << c;
    }
}

// What LineBreak.txt tells in words of the code points that it does not list.
void fill_line_break_defaults(std::vector<std::string>& values) {
    struct {
        std::size_t beg;
        std::size_t end;
        char const* value;
    } const ranges[] = {{0x20A0, 0x20CF, "PR"},   {0x3400, 0x4DBF, "ID"},
                        {0x4E00, 0x9FFF, "ID"},   {0xF900, 0xFAFF, "ID"},
                        {0x1F000, 0x1FAFF, "ID"}, {0x1FC00, 0x1FFFD, "ID"},
                        {0x20000, 0x2FFFD, "ID"}, {0x30000, 0x3FFFD, "ID"}};
    for (auto const& range : ranges) {
        for (std::size_t c = range.beg; c <= range.end; ++c) {
            values[c] = values[c].empty() ? range.value : values[c];
        }
    }
}

TEST(CharDataTest, LineBreakPropertiesAreThoseOfTheDatabase) {
    Numbers numbers = number("OP CL QU GL NS EX SY IS PR PO NU AL ID IN HY BA BB B2 ZW CM WJ H2 H3 "
                             "JL JV JT SA SP - BK CR LF NL");
    for (auto const& [young, old] : std::vector<std::pair<char const*, char const*>>{{"CP", "CL"},
                                                                                     {"HL", "AL"},
                                                                                     {"CJ", "NS"},
                                                                                     {"RI", "ID"},
                                                                                     {"EB", "ID"},
                                                                                     {"EM", "ID"},
                                                                                     {"ZWJ", "CM"},
                                                                                     {"CB", "ID"},
                                                                                     {"AI", "AL"},
                                                                                     {"SG", "AL"},
                                                                                     {"XX", "AL"},
                                                                                     {"", "AL"}}) {
        numbers[young] = numbers.at(old);
    }
    auto values = database::load_property("LineBreak.txt", "");
    fill_line_break_defaults(values);
    for (Char c = 0; c < nbr_code_points; ++c) {
        int const want = numbers.at(values[static_cast<std::size_t>(c)]);
        ASSERT_EQ(CharData::get_line_break_prop(c), want) << std::hex << c;
    }
}

TEST(CharDataTest, BidiClassesAreThoseOfTheDatabase) {
    Numbers numbers = number("L R AL EN ES ET AN CS NSM BN B S WS ON LRE LRO RLE RLO PDF LRI RLI "
                             "FSI PDI");
    auto const values = database::load_property("extracted/DerivedBidiClass.txt", "");
    auto const& rows = use_unicode_data().rows;
    int nbr_unlisted = 0;
    for (Char c = 0; c < nbr_code_points; ++c) {
        std::string const& value = values[static_cast<std::size_t>(c)];
        std::string const& own = rows[static_cast<std::size_t>(c)].bidi;
        for (std::string const& name : {value, own}) {
            ASSERT_TRUE(name.empty() || CharData::get_bidi_class(c) == numbers.at(name))
                << std::hex << c;
        }
        nbr_unlisted += value.empty() && own.empty();
    }
    EXPECT_GT(nbr_unlisted, 800000);
    // Defaults by block of code points that are not assigned
    EXPECT_EQ(CharData::get_bidi_class(0x05FF), BidiClass_R);
    EXPECT_EQ(CharData::get_bidi_class(0x070E), BidiClass_AL);
    EXPECT_EQ(CharData::get_bidi_class(0x07BF), BidiClass_AL);
    EXPECT_EQ(CharData::get_bidi_class(0x07FB), BidiClass_R);
    EXPECT_EQ(CharData::get_bidi_class(0x20CF), BidiClass_ET);
    EXPECT_EQ(CharData::get_bidi_class(0x10CFF), BidiClass_R);
    EXPECT_EQ(CharData::get_bidi_class(0x1EEFF), BidiClass_AL);
    EXPECT_EQ(CharData::get_bidi_class(0x0378), BidiClass_L);
    EXPECT_EQ(CharData::get_bidi_class(0xFFFF), BidiClass_BN);
}

TEST(CharDataTest, WhatIsNoCodePointHasTheFirstRecord) {
    CharData::Info const& outside = CharData::use_info(-1);
    EXPECT_EQ(outside.categ, GeneralCategory_CN);
    EXPECT_EQ(outside.upper, 0);
    for (long const c :
         {-1L, -0x7FFFFFFFL, 0x110000L, 0x7FFFFFFFL, 0x100000041L, -0x100000000L + 'A',
          static_cast<long>(~0UL >> 1), -static_cast<long>(~0UL >> 1) - 1}) {
        EXPECT_EQ(&CharData::use_info(c), &outside) << c;
        EXPECT_EQ(CharData::to_upper(c), c);
        EXPECT_EQ(CharData::to_lower(c), c);
        EXPECT_EQ(CharData::to_title(c), c);
        EXPECT_EQ(CharData::get_line_break_prop(c), LineBreakProp_AL);
    }
}

std::string read_file(std::string const& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(CharDataTest, TablesAreWhatTheToolWrites) {
    std::string const fresh = ::testing::TempDir() + "CharDataTables.cpp";
    std::string const command = "python3 '" SOURCE_DIR "/tools/make_unicode_tables' -d '" +
                                std::string(database::database_dir) + "' -o '" + fresh + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::string const written = read_file(fresh);
    std::remove(fresh.c_str());
    EXPECT_GT(written.size(), 100000U);
    EXPECT_NE(written.find("version 15."), std::string::npos);
    EXPECT_TRUE(written == read_file(SOURCE_DIR "/src/lib/ulk/txt/unicode/CharDataTables.cpp"))
        << "run tools/make_unicode_tables";
}

} // namespace
