// What is written about sessions is what the reader takes.

#include "host/session/ClipList.h"
#include "host/session/CueReader.h"
#include "host/session/InsertReader.h"
#include "host/session/SessionReader.h"
#include "host/session/TempoReader.h"
#include "host/session/TrackReader.h"
#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>

using namespace ulk::host::session;
using Json = nlohmann::json;

namespace {

std::string read_doc(std::string const& name) {
    return test::CommandRun::read_file(SOURCE_DIR "/doc/" + name);
}

// The examples of a language.
std::vector<std::string> find_blocks(std::string const& doc, std::string const& language) {
    std::vector<std::string> block_arr;
    std::string const head = "```" + language + "\n";
    for (std::size_t pos = 0; (pos = doc.find(head, pos)) != std::string::npos;) {
        pos += head.size();
        block_arr.push_back(doc.substr(pos, doc.find("```", pos) - pos));
    }
    return block_arr;
}

void expect_same_names(Json const& table, std::vector<std::string_view> name_arr) {
    std::vector<std::string> schema_arr;
    for (auto const& [name, ignored] : table["properties"].items()) {
        schema_arr.push_back(name);
    }
    std::sort(name_arr.begin(), name_arr.end());
    EXPECT_EQ(std::vector<std::string>(name_arr.begin(), name_arr.end()), schema_arr);
    EXPECT_EQ(false, table["additionalProperties"]);
}

bool is_good(std::string const& txt, SessionReader::Format format) {
    Diagnostics diagnostics;
    SessionReader::parse(txt, format, "none", diagnostics);
    return !diagnostics.has_error();
}

class SessionSchemaTest : public ::testing::Test {
protected:
    Json const _schema = Json::parse(read_doc("session.schema.json"));
    Json const& _definitions = _schema["definitions"];
};

} // namespace

TEST(SessionDocTest, ExamplesLoad) {
    std::string const doc = read_doc("session.md");
    auto const csv_arr = find_blocks(doc, "csv");
    ASSERT_EQ(1u, csv_arr.size());
    test::TempDir const dir;
    std::ofstream(dir.make_name("drums.csv")) << csv_arr[0];
    std::size_t nbr_examples = 0;
    for (auto const& [language, format] : {std::pair("toml", SessionReader::Format::TOML),
                                           std::pair("json", SessionReader::Format::JSON)}) {
        for (std::string const& txt : find_blocks(doc, language)) {
            Diagnostics diagnostics;
            Session const session =
                SessionReader::parse(txt, format, dir.make_name("song"), diagnostics);
            EXPECT_EQ("", diagnostics.print(session.file_arr)) << txt;
            EXPECT_FALSE(session.track_arr.at(0).clips.empty()) << txt;
            ++nbr_examples;
        }
    }
    EXPECT_EQ(5u, nbr_examples);
}

TEST(SessionDocTest, NamesEveryField) {
    std::string const doc = read_doc("session.md");
    for (auto const& name_arr :
         {SessionReader::get_field_names(), TrackReader::get_field_names(),
          InsertReader::get_field_names(), InsertReader::get_automation_field_names(),
          ClipReader::get_field_names(), TempoReader::get_field_names(),
          CueReader::get_field_names()}) {
        for (std::string_view const name : name_arr) {
            EXPECT_NE(std::string::npos, doc.find("`" + std::string(name) + "`")) << name;
        }
    }
}

TEST_F(SessionSchemaTest, HasTheReadersFields) {
    expect_same_names(_schema, SessionReader::get_field_names());
    expect_same_names(_definitions["track"], TrackReader::get_field_names());
    expect_same_names(_definitions["insert"], InsertReader::get_field_names());
    expect_same_names(_definitions["automation"], InsertReader::get_automation_field_names());
    expect_same_names(_definitions["clip"], ClipReader::get_field_names());
    expect_same_names(_definitions["cue"], CueReader::get_field_names());
    expect_same_names(_definitions["tempo_change"], TempoReader::get_field_names());
}

TEST_F(SessionSchemaTest, RequiresWhatTheReaderDoes) {
    auto const format = SessionReader::Format::TOML;
    EXPECT_FALSE(is_good("", format));
    EXPECT_EQ(Json({"track"}), _schema["required"]);
    EXPECT_TRUE(is_good("[[track]]", format));
    EXPECT_FALSE(_definitions["track"].contains("required"));
    EXPECT_FALSE(is_good("[[track]]\nclips = [{ at = 1 }]", format));
    EXPECT_TRUE(is_good("[[track]]\nclips = [{ sample = 'a.wav' }]", format));
    EXPECT_EQ(Json({"sample"}), _definitions["clip"]["required"]);
    EXPECT_FALSE(is_good("[[track]]\ninserts = [{ dry = 'pre' }]", format));
    EXPECT_TRUE(is_good("[[track]]\ninserts = [{ plugin = 'x' }]", format));
    EXPECT_EQ(Json({"plugin"}), _definitions["insert"]["required"]);
    EXPECT_EQ(Json({"param", "points"}), _definitions["automation"]["required"]);
}

// Numbers at and beyond the limits of the schema are taken and refused by the reader.
TEST_F(SessionSchemaTest, HasTheReadersLimits) {
    struct Case {
        Json const& limits;
        char const* beg; // a session around the number
        char const* end;
    };
    Json const& clip = _definitions["clip"]["properties"];
    Json const& tempo = _definitions["tempo_change"]["properties"];
    char const* const clip_end = "}]}]}";
    for (Case const& c :
         {Case{_schema["properties"]["rate"], R"({"track": [{}], "rate": )", "}"},
          Case{_definitions["channels"], R"({"track": [{}], "channels": )", "}"},
          Case{_definitions["bpm"], R"({"track": [{}], "tempo": )", "}"},
          Case{tempo["beats"], R"({"track": [{}], "tempo": [{"beats": )", "}]}"},
          Case{clip["pitch"], R"({"track": [{"clips": [{"sample": "a.wav", "pitch": )", clip_end},
          Case{_definitions["pan"], R"({"track": [{"clips": [{"sample": "a.wav", "pan": )",
               clip_end},
          Case{_definitions["time"]["anyOf"][0],
               R"({"track": [{"clips": [{"sample": "a.wav", "at": )", clip_end},
          Case{_definitions["length"]["anyOf"][0],
               R"({"track": [{"clips": [{"sample": "a.wav", "offset": )", clip_end},
          Case{_definitions["level"]["anyOf"][0],
               R"({"track": [{"clips": [{"sample": "a.wav", "gain": )", clip_end}}) {
        auto const try_number = [&c](double val) {
            return is_good(c.beg + Json(val).dump() + c.end, SessionReader::Format::JSON);
        };
        double const max = c.limits["maximum"];
        EXPECT_TRUE(try_number(max)) << c.beg << max;
        EXPECT_FALSE(try_number(max + 1)) << c.beg << max;
        if (c.limits.contains("minimum")) {
            double const min = c.limits["minimum"];
            EXPECT_TRUE(try_number(min)) << c.beg << min;
            EXPECT_FALSE(try_number(min - 1)) << c.beg << min;
        }
    }
}

TEST_F(SessionSchemaTest, KnowsTheFormsOfTimesAndLevels) {
    std::regex const time(_definitions["time"]["anyOf"][1]["pattern"].get<std::string>());
    for (char const* const txt :
         {"1.5", "1.5 s", "1.5s", "-.5 s", "1e-3", "250 ms", "72000 smp", "1:02.5", "90:00",
          "24:00:00", "-0:30", "5|2|0.5", "2|0|0", "1|1"}) {
        EXPECT_TRUE(std::regex_match(txt, time)) << txt;
        EXPECT_TRUE(TimeText::parse(txt)) << txt;
    }
    for (char const* const txt :
         {"", "s", "soon", "1:60", "1:2:3:4", "1|", "1|1|1", "-1|1", "1 m"}) {
        EXPECT_FALSE(std::regex_match(txt, time)) << txt;
        EXPECT_FALSE(TimeText::parse(txt)) << txt;
    }
    std::regex const level(_definitions["level"]["anyOf"][1]["pattern"].get<std::string>());
    for (char const* const txt : {"-6", "-6 dB", "+3dB", "-inf", "-inf dB", "0.5"}) {
        EXPECT_TRUE(std::regex_match(txt, level)) << txt;
        EXPECT_TRUE(
            is_good(std::string("volume = '") + txt + "'\n[[track]]", SessionReader::Format::TOML))
            << txt;
    }
    for (char const* const txt : {"", "dB", "loud", "inf", "6 db", "6  dB", "6 dB "}) {
        EXPECT_FALSE(std::regex_match(txt, level)) << txt;
        EXPECT_FALSE(
            is_good(std::string("volume = '") + txt + "'\n[[track]]", SessionReader::Format::TOML))
            << txt;
    }
}
