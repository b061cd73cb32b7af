#include "support/AllocFault.h"
#include "support/BundleInstance.h"
#include "ulk/archi/CpuId.h"
#include "ulk/udbg/LogMgr.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

namespace {

// Takes a record without an allocation, which might be the one that fails.
struct Line {
    explicit Line(ulk::udbg::LogMgr::Record const& rec)
        : level(rec.level)
        , line(rec.line)
        , cached(rec.cached) {
        std::snprintf(name, sizeof(name), "%s", rec.name);
        std::snprintf(text, sizeof(text), "%s", rec.text);
        std::snprintf(path, sizeof(path), "%s", rec.path);
        std::snprintf(function, sizeof(function), "%s", rec.function);
    }

    char name[256];
    int level;
    char text[1024];
    char path[1024];
    char function[1024];
    long line;
    int cached;
};

std::vector<Line> line_list;

int record_line(int, void* data) {
    auto const& rec = *static_cast<ulk::udbg::LogMgr::Record*>(data);
    if (line_list.size() < line_list.capacity()) {
        line_list.emplace_back(rec);
    }
    return 0;
}

// The compilers differ in blanks, and in how far they spell names out.
std::string plain(std::string const& function) {
    return std::regex_replace(function, std::regex(" |ulk::archi::|archi::|ulk::ace::baplug::"),
                              "");
}

constexpr int level_error = 2;
constexpr int level_warning = 3;
constexpr int level_info = 4;

// The bundle, whose lines are recorded from now on.
class BundleLogTest : public ::testing::Test {
protected:
    BundleLogTest() {
        line_list.reserve(64);
        EXPECT_EQ(0, _bundle.entry_point(2, reinterpret_cast<void*>(&record_line)));
        line_list.clear();
    }

    static void expect_line(std::size_t pos, int level, std::string const& text,
                            std::string const& path, std::string const& function) {
        ASSERT_LT(pos, line_list.size());
        Line const& line = line_list[pos];
        std::string const shown_path = line.path;
        EXPECT_STREQ("baplug", line.name);
        EXPECT_EQ(level, line.level);
        EXPECT_EQ(text, line.text);
        EXPECT_EQ(path + ", ", shown_path.substr(0, path.size() + 2));
        EXPECT_EQ(path.size() + 2 + 11, shown_path.size()); // the date, as "Oct 24 2013"
        EXPECT_EQ(plain(function), plain(line.function));
        EXPECT_GT(line.line, 0);
        EXPECT_EQ(0, line.cached);
    }

    static std::string address_of(void const* ptr) {
        char txt[32];
        std::snprintf(txt, sizeof(txt), "%lX", reinterpret_cast<unsigned long>(ptr));
        return txt;
    }

    test::BundleInstance _bundle;
    static constexpr char const* entry_path = "lib/ulk/ace/baplug/entry_point";
    static constexpr char const* create_function = "int ulk::ace::baplug::create_factory(void*)";
    static constexpr char const* instantiate_function =
#ifdef __clang__ // the compilers name an alias each in its own way
        "int ulk::ace::baplug::Factory::instantiate(Factory::Instantiate&)";
#else
        "int ulk::ace::baplug::Factory::instantiate(Instantiate&)";
#endif
    static constexpr char const* factory_path = "lib/ulk/ace/baplug/Factory";
};

} // namespace

TEST_F(BundleLogTest, UnknownEntryCommands) {
    for (int cmd : {0, 3, -5}) {
        line_list.clear();
        EXPECT_EQ(-1, _bundle.entry_point(cmd, nullptr));
        EXPECT_EQ(1U, line_list.size());
        expect_line(
            0, level_warning,
            "ulk_entry_point(): Unknown or not implemented command " + std::to_string(cmd) + ".",
            entry_path,
            "ulk::archi::Int32 ulk::ace::baplug::ulk_entry_point(ulk::archi::Int32, void*)");
    }
}

TEST_F(BundleLogTest, CreatingTheFactory) {
    test::Point point;
    ulk::pibase::BidirComPoint* com = &point.com;
    EXPECT_EQ(0, _bundle.entry_point(1, &com));
    EXPECT_EQ(2U, line_list.size());
    expect_line(0, level_info, "create_factory(): Creating factory...", entry_path,
                create_function);
    expect_line(1, level_info, "create_factory(): Success.", entry_path, create_function);
}

TEST_F(BundleLogTest, UnknownFactoryCommands) {
    EXPECT_EQ(-1, _bundle.factory.send(0x1ABC));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_warning,
                "execute_command(): Unknown or not implemented command 0x1ABC (factory 0x" +
                    address_of(&_bundle.factory.com) + ")",
                factory_path, "int ulk::ace::baplug::Factory::execute_command(int, void*)");
}

TEST_F(BundleLogTest, Instantiation) {
    test::Point point;
    EXPECT_EQ(-14478, _bundle.instantiate(nullptr, point));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_error, "instantiate(): Invalid argument.", factory_path,
                instantiate_function);

    line_list.clear();
    EXPECT_EQ(-14498, _bundle.instantiate("Brevanto#%1%s", point));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_error, "instantiate(): Unknown plug-in identifier Brevanto#%1%s.",
                factory_path, instantiate_function);

    line_list.clear();
    EXPECT_EQ(0, _bundle.instantiate("Brevanto#TessitoneBypass", point));
    expect_line(0, level_info, "instantiate(): Creating plugin Brevanto#TessitoneBypass...",
                factory_path, instantiate_function);
    expect_line(line_list.size() - 1, level_info,
                "instantiate(): Success (0x" + address_of(&point.com) + ").", factory_path,
                instantiate_function);
}

TEST_F(BundleLogTest, AFailedFactoryTellsSo) {
    long nbr_fail = 0;
    for (;; ++nbr_fail) {
        test::Point point;
        ulk::pibase::BidirComPoint* com = &point.com;
        line_list.clear();
        test::AllocFault fault(nbr_fail);
        if (_bundle.entry_point(1, &com) == 0) {
            break;
        }
        EXPECT_TRUE(fault.has_failed());
        EXPECT_EQ(2U, line_list.size());
        expect_line(1, level_error, "create_factory(): Failure.", entry_path, create_function);
    }
    EXPECT_GT(nbr_fail, 0);
}

TEST_F(BundleLogTest, AFailedInstanceTellsSo) {
    for (char const* id : {"Brevanto#TessitoneAudioInput", "Brevanto#TessitoneBypass"}) {
        long nbr_fail = 0;
        for (;; ++nbr_fail) {
            test::Point point;
            line_list.clear();
            test::AllocFault fault(nbr_fail);
            if (_bundle.instantiate(id, point) == 0) {
                break;
            }
            point.com.plugin_data = nullptr; // a dead point
            EXPECT_TRUE(fault.has_failed());
            expect_line(line_list.size() - 1, level_error, "instantiate(): Failure.", factory_path,
                        instantiate_function);
        }
        EXPECT_GT(nbr_fail, 0);
    }
}

// A bundle that was just loaded sets the tables up with the first plug-in that uses them.
TEST_F(BundleLogTest, TheTablesOfBlockRoutinesTellWhatTheyChose) {
    auto const& cpu = ulk::archi::CpuId::use_instance();
    auto const text_of = [](std::size_t pos) {
        return pos < line_list.size() ? std::string(line_list[pos].text) : std::string();
    };
    test::Point point;
    EXPECT_EQ(0, _bundle.instantiate("Brevanto#TessitoneBypass", point));
    ASSERT_EQ(6U, line_list.size());
    std::string const function = "static void ulk::dsp::BasicMixing::setup_internal()";
    expect_line(1, level_info,
                cpu.has_3dnow() ? "setup_internal(): Using 3dNow! instruction set."
                                : "setup_internal(): Using classic FPU instruction set.",
                "lib/ulk/dsp/BasicMixing", function);
    expect_line(2, level_info, "setup_internal(): Mixing routines ready to use.",
                "lib/ulk/dsp/BasicMixing", function);
    std::string const align_function = "static void ulk::dsp::BasicMixingAlign::setup_internal()";
    expect_line(3, level_info,
                cpu.has_sse() ? "setup_internal(): Using SSE instruction set for aligned data."
                : cpu.has_altivec()
                    ? "setup_internal(): Using Altivec instruction set for aligned data."
                    : "setup_internal(): Using default instruction set for aligned data.",
                "lib/ulk/dsp/BasicMixingAlign", align_function);
    expect_line(4, level_info, "setup_internal(): Mixing routines ready to use for aligned data.",
                "lib/ulk/dsp/BasicMixingAlign", align_function);
    EXPECT_EQ("instantiate(): Success (0x" + address_of(&point.com) + ").", text_of(5));

    test::Point again; // they stand now, and say nothing more
    line_list.clear();
    EXPECT_EQ(0, _bundle.instantiate("Brevanto#TessitoneBypass", again));
    EXPECT_EQ(2U, line_list.size());
}

TEST_F(BundleLogTest, PinConfigurationsThatFindNoMemoryAreLogged) {
    using kryn::PluginDsp;
    struct {
        char const* id;
        char const* name;
    } const arr[] = {{"Brevanto#TessitoneBypass", "Bypass"},
                     {"Brevanto#TessitoneDryWet", "DryWet"}};
    for (auto const& plug : arr) {
        test::Point point;
        EXPECT_EQ(0, _bundle.instantiate(plug.id, point));
        bool const mixer_flag = std::string(plug.name) == "DryWet";
        std::vector<long> in(mixer_flag ? 128 : 64, 2);
        std::vector<long> out(64, 2);
        auto const nbr_in = static_cast<long>(in.size());
        PluginDsp::CmdPlug::SetPinConf cmd = {
            {{{{nbr_in, nbr_in, in.data()}, {64, 64, out.data()}}}, 0, 0}};
        line_list.clear();
        {
            test::AllocFault const fault(0);
            EXPECT_EQ(-2, point.send(PluginDsp::CmdPlug::SET_PIN_CONF, &cmd));
        }
        EXPECT_EQ(1U, line_list.size());
        expect_line(0, level_error, "set_pin_conf(): exception.",
                    std::string("lib/ulk/ace/baplug/") + plug.name,
                    std::string("int ulk::ace::baplug::") + plug.name +
#ifdef __clang__
                        "::set_pin_conf(const CmdPlug::SetPinConf&)");
#else
                        "::set_pin_conf(const kryn::PluginDsp::CmdPlug::SetPinConf&)");
#endif
    }
}
