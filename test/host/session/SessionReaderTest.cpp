#include "host/session/SessionReader.h"
#include "host/Error.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace ulk::host::session;
using ulk::host::Error;
using Format = SessionReader::Format;

namespace {

std::string read_data(std::string const& name) {
    std::ifstream file(TEST_DATA_DIR "/session/" + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    std::ostringstream txt;
    txt << file.rdbuf();
    return txt.str();
}

class SessionReaderTest : public ::testing::Test {
protected:
    Session parse(std::string const& txt, Format format = Format::TOML) {
        Diagnostics diagnostics;
        Session session = SessionReader::parse(txt, format, "dir/song.toml", diagnostics);
        EXPECT_EQ("", diagnostics.print({"song"})) << txt;
        return session;
    }
    Session::Clip parse_clip(std::string const& fields, std::string const& top = "") {
        Session const session =
            parse(top + "\n[[track]]\nclips = [{ sample = \"a.wav\", " + fields + " }]");
        return session.track_arr.at(0).clips.at(0);
    }
    // The first mistake, with its place.
    std::string refuse(std::string const& txt, Format format = Format::TOML) {
        Diagnostics diagnostics;
        SessionReader::parse(txt, format, "none", diagnostics);
        EXPECT_TRUE(diagnostics.has_error()) << txt;
        std::string const all = diagnostics.print({"none"});
        return all.substr(0, all.find('\n'));
    }
    std::string refuse_clip(std::string const& fields, std::string const& top = "") {
        std::string const txt =
            refuse(top + "\n[[track]]\nclips = [{ sample = \"a.wav\", " + fields + " }]");
        return txt.substr(txt.find("error: ") + 7);
    }
};

void expect_equal(Session::Curve const& a, Session::Curve const& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t pos = 0; pos < a.size(); ++pos) {
        EXPECT_EQ(a[pos].time, b[pos].time);
        EXPECT_EQ(a[pos].val, b[pos].val);
    }
}

void expect_equal(std::vector<Session::Cue> const& a, std::vector<Session::Cue> const& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t pos = 0; pos < a.size(); ++pos) {
        EXPECT_EQ(a[pos].name, b[pos].name);
        EXPECT_EQ(a[pos].time, b[pos].time);
    }
}

void expect_equal(Session::Clip const& a, Session::Clip const& b) {
    EXPECT_EQ(a.sample, b.sample);
    EXPECT_EQ(a.at, b.at);
    EXPECT_EQ(a.offset, b.offset);
    EXPECT_EQ(a.length, b.length);
    EXPECT_EQ(a.gain, b.gain);
    EXPECT_EQ(a.pitch, b.pitch);
    EXPECT_EQ(a.fade_in, b.fade_in);
    EXPECT_EQ(a.fade_out, b.fade_out);
    expect_equal(a.volume, b.volume);
    expect_equal(a.pan, b.pan);
}

void expect_equal(Session::Insert const& a, Session::Insert const& b) {
    EXPECT_EQ(a.plugin, b.plugin);
    EXPECT_EQ(a.dry, b.dry);
    EXPECT_EQ(a.dry_track, b.dry_track);
    ASSERT_EQ(a.params.size(), b.params.size());
    for (std::size_t pos = 0; pos < a.params.size(); ++pos) {
        EXPECT_EQ(a.params[pos].time, b.params[pos].time);
        EXPECT_EQ(a.params[pos].param, b.params[pos].param);
        EXPECT_EQ(a.params[pos].val, b.params[pos].val);
        EXPECT_EQ(a.params[pos].ramp, b.params[pos].ramp);
    }
}

void expect_equal(Session::Track const& a, Session::Track const& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.nbr_chn, b.nbr_chn);
    EXPECT_EQ(a.output, b.output);
    EXPECT_EQ(a.mute_flag, b.mute_flag);
    expect_equal(a.volume, b.volume);
    ASSERT_EQ(a.inserts.size(), b.inserts.size());
    for (std::size_t pos = 0; pos < a.inserts.size(); ++pos) {
        expect_equal(a.inserts[pos], b.inserts[pos]);
    }
    ASSERT_EQ(a.clips.size(), b.clips.size());
    for (std::size_t pos = 0; pos < a.clips.size(); ++pos) {
        expect_equal(a.clips[pos], b.clips[pos]);
    }
}

} // namespace

TEST_F(SessionReaderTest, FillsInWhatIsNotSaid) {
    Session const session = parse("[[track]]\nclips = [{ sample = \"a.wav\" }]\n[[track]]");
    EXPECT_EQ("song", session.name);
    EXPECT_EQ(48000, session.sample_freq);
    EXPECT_EQ(2, session.nbr_chn);
    EXPECT_EQ(0, session.tail);
    expect_equal(Session::Curve{{0, 0}}, session.volume);
    ASSERT_EQ(2u, session.track_arr.size());
    EXPECT_EQ("Track 2", session.track_arr[1].name);
    expect_equal(Session::Clip(), session.track_arr[0].clips.at(0));
    ASSERT_EQ(1u, session.sample_arr.size());
    EXPECT_EQ("dir/a.wav", session.sample_arr[0].path);
    EXPECT_EQ(2, session.sample_arr[0].place.line);
    EXPECT_EQ(21, session.sample_arr[0].place.column);
}

TEST_F(SessionReaderTest, ReadsEveryField) {
    Session const session = parse(read_data("full.toml"));
    EXPECT_EQ("All of it", session.name);
    EXPECT_EQ(44100, session.sample_freq);
    EXPECT_EQ(4, session.nbr_chn);
    EXPECT_EQ(1.25, session.tail);
    expect_equal(Session::Curve{{0, 0}, {60, 0}, {70, Session::silence}}, session.volume);
    ASSERT_EQ(3u, session.track_arr.size());
    ASSERT_EQ(3u, session.sample_arr.size());
    EXPECT_EQ("dir/samples/kick 01.wav", session.sample_arr[0].path);
    EXPECT_EQ("/abs/snare.wav", session.sample_arr[1].path);

    Session::Track const& drums = session.track_arr[0];
    EXPECT_EQ("Drums", drums.name);
    EXPECT_EQ(2, drums.nbr_chn);
    EXPECT_EQ(2, drums.output);
    EXPECT_TRUE(drums.mute_flag);
    expect_equal(Session::Curve{{0, -6}, {2, 0}}, drums.volume);
    ASSERT_EQ(3u, drums.clips.size());
    Session::Clip clip;
    clip.at = 2.5; // 5|2 at 120 beats per minute, three in a bar behind bar 3
    clip.at = 2 * 2 + 2 * 1.5 + 0.5 + 0.25;
    clip.offset = 0.25;
    clip.length = 3;
    clip.gain = -3;
    clip.pitch = -12;
    clip.fade_in = 0.01;
    clip.fade_out = 1;
    clip.volume = {{0, Session::silence}, {1.5, -6}};
    clip.pan = {{0, -1}, {1, 1}};
    expect_equal(clip, drums.clips[0]);
    EXPECT_EQ(1, drums.clips[1].sample);
    EXPECT_EQ(-0.5, drums.clips[1].at);
    EXPECT_EQ(0, drums.clips[2].sample);
    EXPECT_EQ(1.5, drums.clips[2].at);
    EXPECT_EQ(Session::silence, drums.clips[2].gain);

    EXPECT_EQ(4, session.track_arr[1].nbr_chn);
    Session::Track const& bus = session.track_arr[2];
    EXPECT_EQ(Session::master, bus.output);
    ASSERT_EQ(2u, bus.inserts.size());
    Session::Insert insert;
    insert.plugin = "Brevanto#TessitoneDryWet";
    insert.dry = Session::Dry::TRACK;
    insert.dry_track = 1;
    insert.params = {{0, "Wet/Dry Mix", "30", 0, {}},
                     {0, "1", "-6 dB", 0, {}},
                     {0, "Gain", "0", 0, {}},
                     {1, "Gain", "-12 dB", 1.5, {}},
                     {2.5, "Gain", "3.5", 0, {}}};
    expect_equal(insert, bus.inserts[0]);
    EXPECT_EQ(Session::Dry::NONE, bus.inserts[1].dry);
    expect_equal({{"Cue 2", 1.5}, {"Chorus", 4}}, session.cue_arr);
}

TEST_F(SessionReaderTest, ReadsTheSameFromBothLanguages) {
    Session const toml = parse(read_data("full.toml"));
    Session const json = parse(read_data("full.json"), Format::JSON);
    EXPECT_EQ(toml.name, json.name);
    EXPECT_EQ(toml.sample_freq, json.sample_freq);
    EXPECT_EQ(toml.nbr_chn, json.nbr_chn);
    EXPECT_EQ(toml.tail, json.tail);
    expect_equal(toml.volume, json.volume);
    ASSERT_EQ(toml.track_arr.size(), json.track_arr.size());
    for (std::size_t pos = 0; pos < toml.track_arr.size(); ++pos) {
        expect_equal(toml.track_arr[pos], json.track_arr[pos]);
    }
    expect_equal(toml.cue_arr, json.cue_arr);
    ASSERT_EQ(toml.sample_arr.size(), json.sample_arr.size());
    for (std::size_t pos = 0; pos < toml.sample_arr.size(); ++pos) {
        EXPECT_EQ(toml.sample_arr[pos].path, json.sample_arr[pos].path);
    }
}

TEST_F(SessionReaderTest, MeasuresTimesInAllUnits) {
    EXPECT_EQ(1.5, parse_clip("at = 1.5").at);
    EXPECT_EQ(2, parse_clip("at = \"88200 smp\"", "rate = 44100").at);
    EXPECT_EQ(62.5, parse_clip("at = \"1:02.5\"").at);
    EXPECT_EQ(9, parse_clip("at = \"5|3\"", "tempo = 120").at);
    EXPECT_EQ(10, parse_clip("at = \"4|2\"", "tempo = [{ bpm = 60, beats = 3 }]").at);
    EXPECT_EQ(1.5, parse_clip("at = \"2|1\", length = \"0|3\"").length);
    EXPECT_EQ(0, parse_clip("at = 1e6, fade_in = \"0|0\"").fade_in);
}

TEST_F(SessionReaderTest, MeasuresLengthsInBarsFromTheClipsBeginning) {
    std::string const tempo = "tempo = [{ bpm = 60 }, { at = \"3|1\", bpm = 120, beats = 2 }]";
    EXPECT_EQ(4, parse_clip("at = \"1|1\", length = \"1|0\"", tempo).length);
    EXPECT_EQ(1, parse_clip("at = \"3|1\", length = \"1|0\"", tempo).length);
    EXPECT_EQ(4.25, parse_clip("at = \"2|2|0.5\", length = \"1|2\"", tempo).length);
    EXPECT_EQ(2, parse(tempo + "\ntail = \"2|0\"\n[[track]]").tail);
}

TEST_F(SessionReaderTest, TellsAllMistakesAtOnce) {
    std::string const path = TEST_DATA_DIR "/session/mistakes.toml";
    Diagnostics diagnostics;
    Session const session = SessionReader::load(path, diagnostics);
    std::vector<std::string> file_arr = session.file_arr;
    std::string told = diagnostics.print(file_arr);
    std::string const dir = TEST_DATA_DIR "/session/";
    for (std::size_t pos = 0; (pos = told.find(dir, pos)) != std::string::npos;) {
        told.erase(pos, dir.size());
    }
    EXPECT_EQ(read_data("mistakes.txt"), told);
    try {
        SessionReader::load(path);
        ADD_FAILURE() << "nothing was thrown";
    } catch (Error const& e) {
        EXPECT_EQ(Error::Kind_MATERIAL, e.get_kind());
        std::string const head =
            path + ": " + std::to_string(diagnostics.get_nbr_errors()) + " mistakes\n";
        EXPECT_EQ(head + diagnostics.print(file_arr), std::string(e.what()) + "\n");
    }
}

TEST_F(SessionReaderTest, TellsTheSameMistakesOfJson) {
    EXPECT_EQ("none:2:14: error: \"rate\" is a whole number from 8000 to 384000; this is 7",
              refuse("{\n     \"rate\": 7, \"track\": [{}]}", Format::JSON));
    EXPECT_EQ("none:1:26: error: a track has no field \"mut\"; did you mean \"mute\"?",
              refuse("{\"track\": [{\"name\": \"\xC3\xA9\", \"mut\": true}]}", Format::JSON));
    EXPECT_EQ("none:1:16: error: \"rate\" stands here for the second time",
              refuse("{\"rate\": 9000, \"rate\": 9000, \"track\": [{}]}", Format::JSON));
    EXPECT_EQ("none:1:1: error: a session is a table of fields; this is a list",
              refuse("[]", Format::JSON));
    EXPECT_EQ("none:1:11: error: \"track\" is a list of one table or more; this is something else",
              refuse("{\"track\": null}", Format::JSON));
}

TEST_F(SessionReaderTest, TellsWhereTheLanguageIsBroken) {
    EXPECT_EQ(0u, refuse("rate = 48000\nname = \n").find("none:2:8: error: "));
    EXPECT_EQ(0u, refuse("{\"rate\": 48000,\n \"name\" 1}", Format::JSON)
                      .find("none:2:9: error: syntax error while parsing object separator"));
    EXPECT_EQ(0u, refuse("", Format::JSON).find("none:1:1: error: syntax error"));
    EXPECT_EQ(0u,
              refuse("{\"rate\": 1e999}", Format::JSON).find("none:1:14: error: number overflow"));
    EXPECT_EQ(0u, refuse("\xEF\xBB\xBF{\"a\" 1}", Format::JSON).find("none:1:6: error: "));
    EXPECT_EQ(0u, refuse("# \xC3\xA9\nname = \xC3\xA9").find("none:2:8: error: "));
    EXPECT_EQ(0u, refuse("# \xC3\xA9\nna\xC3\xA9me = 1").find("none:2:3: error: "));
    EXPECT_EQ(0u, refuse("rate =0o17927-'9\xEF\xB9\xBF\x30").find("none:1:"));
    EXPECT_EQ(0u, refuse("name = \"\xFF\"").find("none:1:"));
}

TEST_F(SessionReaderTest, SkipsAByteOrderMark) {
    EXPECT_EQ("x", parse("\xEF\xBB\xBFname = \"x\"\n[[track]]").name);
    EXPECT_EQ("x", parse("\xEF\xBB\xBF{\"name\": \"x\", \"track\": [{}]}", Format::JSON).name);
}

TEST_F(SessionReaderTest, RefusesTimesOutOfRange) {
    EXPECT_EQ("\"length\" is a time above 0 to 10000000 s; this is 0", refuse_clip("length = 0"));
    EXPECT_EQ("\"at\" is a time from -10000000 to 10000000 s; this is \"1e8 s\"",
              refuse_clip("at = \"1e8 s\""));
    EXPECT_EQ("\"at\" is a bar, 1 or more, and a beat of it, here from 1 to 4; this is \"1|5\"",
              refuse_clip("at = \"1|5\""));
    EXPECT_EQ("\"at\" is a bar, 1 or more, and a beat of it, here from 1 to 4; this is \"0|1\"",
              refuse_clip("at = \"0|1\""));
    EXPECT_EQ("\"offset\" is a time from 0 to 10000000 s; this is -1", refuse_clip("offset = -1"));
    EXPECT_EQ("\"at\" is a time, such as 1.5, \"250 ms\", \"1:02.5\" or \"5|2\"; this is \"soon\"",
              refuse_clip("at = \"soon\""));
    EXPECT_EQ("\"at\" is a time from -10000000 to 10000000 s; this is nan",
              refuse_clip("at = nan"));
}

TEST_F(SessionReaderTest, NamesTheLoop) {
    EXPECT_EQ("none:9:10: error: a loop: the sound goes \"A\" > \"B\" > \"C\" > \"A\"",
              refuse("[[track]]\nname='A'\noutput='B'\n[[track]]\nname='B'\noutput='C'\n"
                     "[[track]]\nname='C'\n output= 'A'"));
    EXPECT_EQ("none:3:8: error: a loop: the sound goes \"A\" > \"A\"",
              refuse("[[track]]\nname='A'\noutput='A'"));
    EXPECT_EQ("none:4:32: error: a loop: the sound goes \"A\" > \"B\" > \"A\"",
              refuse("[[track]]\nname='A'\noutput='B'\n"
                     "inserts = [{ plugin='x', dry = 'track:B' }]\n[[track]]\nname='B'"));
}

TEST_F(SessionReaderTest, StaysFlatUnderDeepNesting) {
    std::string const many(200000, '[');
    EXPECT_NE("", refuse("a = " + many));
    EXPECT_EQ("none:1:33: error: nested more than 32 deep; no field lies there",
              refuse(many, Format::JSON));
    std::string dots = "a";
    for (int i = 0; i < 100000; ++i) {
        dots += ".a";
    }
    EXPECT_EQ("none:1:34: error: a name of more than 16 parts; no field lies that deep",
              refuse(dots + " = 1"));
    EXPECT_EQ("none:2:35: error: a name of more than 16 parts; no field lies that deep",
              refuse("x = '''......................''''\n[" + dots + "]"));
    parse("name = \"..............................................................\"\n[[track]]");
}

TEST_F(SessionReaderTest, StopsAtValuesWithoutEnd) {
    std::string many;
    for (long nbr = 0; nbr < Node::max_nbr + 10; ++nbr) {
        many += "0,";
    }
    std::string const limit = "more than 5000000 values in one file; put clips into CSV files";
    EXPECT_EQ("none:1:10000005: error: " + limit, refuse("a = [" + many + "0]"));
    EXPECT_EQ("none:1:10000000: error: " + limit, refuse("[" + many + "0]", Format::JSON));
}

TEST_F(SessionReaderTest, CountsWhatItDoesNotKeep) {
    std::string txt = "[[track]]\nclips = [\n";
    for (int i = 0; i < 1000; ++i) {
        txt += "{ sample = 'a.wav', gain = 'x\\u001b' },\n";
    }
    Diagnostics diagnostics;
    SessionReader::parse(txt + "]", Format::TOML, "none", diagnostics);
    EXPECT_EQ(1000, diagnostics.get_nbr_errors());
    EXPECT_EQ(Diagnostics::max_nbr, diagnostics.use_list().size());
    EXPECT_NE(std::string::npos, diagnostics.print({"none"}).find("\nand 800 more\n"));
}

TEST_F(SessionReaderTest, LetsNoControlCharacterReachTheTerminal) {
    std::string const txt = refuse_clip("gain = \"x\\u001b[31m\"");
    EXPECT_EQ(std::string::npos, txt.find('\x1b')) << txt;
    EXPECT_EQ("\"sample\" is a text without control characters; this is \"a b.wav\"",
              refuse_clip("at = 0 }, { sample = \"a\\u0000b.wav\""));
}

TEST_F(SessionReaderTest, NamesTheFileThatItCannotRead) {
    test::TempDir const dir;
    auto const load = [](std::string const& path) -> std::string {
        try {
            SessionReader::load(path);
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_MATERIAL, e.get_kind());
            return e.what();
        }
        return "";
    };
    std::string const missing = dir.make_name("none.toml");
    EXPECT_EQ(missing + ": cannot be read: No such file or directory", load(missing));
    std::filesystem::create_directory(dir.make_name("dir.toml"));
    EXPECT_EQ(dir.make_name("dir.toml") + ": is a folder", load(dir.make_name("dir.toml")));
    EXPECT_EQ("song.txt: the name of a session ends in .toml or .json, as its language is",
              load("song.txt"));
}

TEST_F(SessionReaderTest, WarnsOfShortNamesThatNobodyPlays) {
    Diagnostics diagnostics;
    SessionReader::parse("[samples]\nkick = 'k.wav'\n[[track]]\n", Format::TOML, "none",
                         diagnostics);
    EXPECT_FALSE(diagnostics.has_error());
    EXPECT_EQ("none:2:8: warning: no clip plays \"kick\"\n", diagnostics.print({"none"}));
}
