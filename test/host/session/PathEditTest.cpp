#include "host/session/PathEdit.h"
#include "host/session/QuotedText.h"
#include "host/session/SessionReader.h"
#include "host/session/UniqueNames.h"

#include <gtest/gtest.h>

using namespace ulk::host::session;
using Language = PathEdit::Language;

TEST(PathEditTest, ReplacesPathsAloneInASession) {
    std::string const txt = "\xEF\xBB\xBF# \xC3\xA9 \"a.wav\"\r\n[samples]\r\n"
                            "k = 'a.wav' # 'a.wav'\r\n\"\xC3\xA9\" = \"\"\"b \\\" \"c.wav\"\"\"\r\n"
                            "[[track]]\r\nclips = [{sample=\"d\\\\.wav\",at=1},{sample = 'k'}]";
    std::vector<PathUse> use_arr;
    Diagnostics diagnostics;
    SessionReader::parse(txt, SessionReader::Format::TOML, "s", diagnostics, &use_arr);
    ASSERT_EQ(3u, use_arr.size()) << diagnostics.print({"s"});
    EXPECT_EQ("b \" \"c.wav", use_arr[1].path);
    EXPECT_EQ("d\\.wav", use_arr[2].path);
    std::vector<PathEdit::Edit> const edit_arr = {
        {use_arr[2].place, "x/\\\".wav"}, {use_arr[0].place, "x/1.wav"}, {use_arr[1].place, ""}};
    EXPECT_EQ("\xEF\xBB\xBF# \xC3\xA9 \"a.wav\"\r\n[samples]\r\n"
              "k = \"x/1.wav\" # 'a.wav'\r\n\"\xC3\xA9\" = \"\"\r\n"
              "[[track]]\r\nclips = [{sample=\"x/\\\\\\\".wav\",at=1},{sample = 'k'}]",
              PathEdit::apply(txt, Language::SESSION, edit_arr));
    EXPECT_EQ(txt, PathEdit::apply(txt, Language::SESSION, {}));
}

TEST(PathEditTest, ReplacesPathsAloneInAList) {
    std::string const txt =
        "sample , at\r\n a b.wav , 1\r\n# a.wav\r\n\"a, \"\"b\"\".wav\",2\r\n3.wav";
    EXPECT_EQ("sample , at\r\n x.wav , 1\r\n# a.wav\r\n\"y,\"\"z\",2\r\n4.wav",
              PathEdit::apply(txt, Language::CSV,
                              {{{0, 2, 2}, "x.wav"}, {{0, 4, 1}, "y,\"z"}, {{0, 5, 1}, "4.wav"}}));
}

TEST(QuotedTextTest, FindsTheEndOfEachForm) {
    struct Case {
        char const* txt;
        std::size_t end;
    };
    for (Case const& c : {Case{"\"\" x", 2}, Case{"'a' x", 3}, Case{"\"\\\"\" x", 4},
                          Case{"'\\' x", 3}, Case{"\"\"\"a\"b\"\"\" x", 9}, Case{"'''a\nb''' x", 9},
                          Case{"\"\"\"a\"\"\"\"\" x", 9}, Case{"'''''' x", 6}, Case{"\"a\nb\"", 2},
                          Case{"\"a", 2}, Case{"\"a\\", 3}, Case{"'''a''", 6}}) {
        EXPECT_EQ(c.end, QuotedText::find_end(c.txt, 0)) << c.txt;
    }
    EXPECT_EQ("\"a\\\\ \\\"b\\\"\"", QuotedText::quote("a\\ \"b\""));
}

TEST(UniqueNamesTest, NumbersWhatIsTaken) {
    UniqueNames names;
    EXPECT_EQ("kick.wav", names.add("kick.wav"));
    EXPECT_EQ("Kick 2.wav", names.add("Kick.wav"));
    EXPECT_EQ("kick 3.wav", names.add("kick.wav"));
    EXPECT_EQ("kick 2 2.wav", names.add("kick 2.wav"));
    EXPECT_EQ("kick", names.add("kick"));
    EXPECT_EQ("kick 2", names.add("kick"));
}
