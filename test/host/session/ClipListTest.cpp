#include "host/session/ClipList.h"
#include "host/session/CsvReader.h"

#include <gtest/gtest.h>

#include <random>

using namespace ulk::host::session;

namespace {

class ClipListTest : public ::testing::Test {
protected:
    std::vector<Session::Clip> parse(std::string const& txt) {
        _session = {};
        _session.file_arr = {"song.toml", "lists/clips.csv"};
        _diagnostics = {};
        ValueReader values(_diagnostics);
        SampleTable samples(_session, _diagnostics, nullptr);
        samples.add_name("kick", {0, 1, 1}, "kick.wav");
        ClipReader reader(values, samples);
        std::vector<Session::Clip> clip_arr;
        ClipList::parse(txt, 1, reader, clip_arr, _diagnostics);
        return clip_arr;
    }
    std::string refuse(std::string const& txt) {
        parse(txt);
        std::string const all = _diagnostics.print({"s", "c"});
        return all.substr(0, all.find('\n'));
    }

    Session _session;
    Diagnostics _diagnostics;
};

// As a writer of such files would, with quotes where they are needed or at random.
std::string quote(std::string const& txt, std::mt19937& rnd) {
    bool const need_flag = txt.empty() || txt.find_first_of(",\"\n\r#") != std::string::npos ||
                           txt.front() == ' ' || txt.back() == ' ';
    if (!need_flag && rnd() % 2 == 0) {
        return txt;
    }
    std::string quoted = "\"";
    for (char const c : txt) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

} // namespace

TEST_F(ClipListTest, ReadsClips) {
    auto const clip_arr = parse("sample,at,pan,gain,length\n"
                                "kick,0.5,-1,-6 dB,250 ms\n"
                                "  \"a, \"\"b\"\".wav\" , \"5|1\" ,,-inf\n"
                                "7.wav,1:00");
    EXPECT_EQ("", _diagnostics.print({"s", "c"}));
    ASSERT_EQ(3u, clip_arr.size());
    EXPECT_EQ(0.5, clip_arr[0].at);
    EXPECT_EQ(-1, clip_arr[0].pan.at(0).val);
    EXPECT_EQ(-6, clip_arr[0].gain);
    EXPECT_EQ(0.25, clip_arr[0].length);
    EXPECT_EQ(8, clip_arr[1].at);
    EXPECT_EQ(0, clip_arr[1].pan.at(0).val);
    EXPECT_EQ(Session::silence, clip_arr[1].gain);
    EXPECT_EQ(3, clip_arr[1].place.line);
    EXPECT_EQ(3, clip_arr[1].place.column);
    EXPECT_EQ(60, clip_arr[2].at);
    ASSERT_EQ(3u, _session.sample_arr.size());
    EXPECT_EQ("kick.wav", _session.sample_arr[0].path);
    EXPECT_EQ("lists/a, \"b\".wav", _session.sample_arr[1].path);
    EXPECT_EQ("lists/7.wav", _session.sample_arr[2].path);
}

TEST_F(ClipListTest, TakesAllLineEndsAMarkAndEmptyLines) {
    auto const clip_arr =
        parse("\xEF\xBB\xBF\r\n# a list\r\nsample,at\r\n\r\nkick,1\r\n \t\r\nkick,2");
    EXPECT_EQ("", _diagnostics.print({"s", "c"}));
    ASSERT_EQ(2u, clip_arr.size());
    EXPECT_EQ(2, clip_arr[1].at);
    EXPECT_EQ(7, clip_arr[1].place.line);
    EXPECT_TRUE(parse("sample,at\n").empty());
    EXPECT_FALSE(_diagnostics.has_error());
}

TEST_F(ClipListTest, RefusesHeadersThatCannotBe) {
    EXPECT_EQ(
        "c:1:1: error: a list of clips starts with the names of its columns, such as sample,at",
        refuse(""));
    EXPECT_EQ("c:1:1: error: a list of clips needs a column \"at\"", refuse("sample\nkick"));
    EXPECT_EQ("c:1:11: error: a clip has no field \"gian\"; did you mean \"gain\"?",
              refuse("sample,at,gian\nkick,1,2"));
    EXPECT_EQ("c:1:11: error: the column \"at\" stands here twice", refuse("sample,at,at"));
    EXPECT_EQ("c:1:8: error: a clip has no field \"at kick\"", refuse("sample,at\rkick,1"));
}

TEST_F(ClipListTest, TellsWhichCellIsWrong) {
    EXPECT_EQ("c:2:1: error: a clip needs a field \"sample\"", refuse("sample,at\n,1"));
    EXPECT_EQ("c:2:8: error: a line of 3 fields below 2 names", refuse("sample,at\nkick,1,2"));
    EXPECT_EQ("c:2:6: error: this quote has no end", refuse("sample,at\nkick,\"1\nkick,2"));
    EXPECT_EQ("c:2:11: error: \"volume\" is a level, -inf to 24 dB, such as -6, \"-6 dB\" or "
              "\"-inf\"; this is \"[[0, 1]]\"",
              refuse("sample,at,volume\na.wav, 1, \"[[0, 1]]\""));
    EXPECT_EQ("c:3:9: error: \"pan\" is a number from -1 to 1; this is \"left\"",
              refuse("sample,at,pan\na.wav,\"1\"\n\xC3\xA9.wav,1,left"));
}

TEST(CsvReaderTest, ReadsBackWhatIsWritten) {
    std::mt19937 rnd(5);
    std::string const chars = "ab,\"\n \r\xC3\xA9#x";
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::vector<std::string>> row_arr(1 + rnd() % 4);
        std::string txt;
        for (auto& row : row_arr) {
            row.resize(1 + rnd() % 4);
            for (auto& cell : row) {
                for (auto len = rnd() % 6; len > 0; --len) {
                    cell += chars[rnd() % chars.size()];
                }
                txt += (&cell == row.data() ? ""
                        : rnd() % 2 == 0    ? ","
                                            : " ,\t") +
                       quote(cell, rnd);
            }
            txt += rnd() % 2 == 0 ? "\n" : "\r\n";
        }
        Diagnostics diagnostics;
        CsvReader reader(txt, 0, diagnostics);
        std::vector<CsvReader::Cell> row;
        for (auto const& wanted : row_arr) {
            ASSERT_TRUE(reader.read_row(row));
            ASSERT_EQ(wanted.size(), row.size()) << txt;
            for (std::size_t pos = 0; pos < row.size(); ++pos) {
                EXPECT_EQ(wanted[pos], row[pos].txt) << txt;
            }
        }
        EXPECT_FALSE(reader.read_row(row));
        EXPECT_FALSE(diagnostics.has_error()) << txt;
    }
}
