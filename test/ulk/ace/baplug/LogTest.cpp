#include "support/BundleInstance.h"
#include "ulk/udbg/LogMgr.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Line {
    std::string name;
    int level;
    std::string text;
    std::string path;
    std::string function;
    int cached;
};

std::vector<Line> line_list;

int record_line(int, void* data) {
    auto const& rec = *static_cast<ulk::udbg::LogMgr::Record*>(data);
    EXPECT_GT(rec.line, 0);
    line_list.push_back({rec.name, rec.level, rec.text, rec.path, rec.function, rec.cached});
    return 0;
}

constexpr int level_error = 2;
constexpr int level_warning = 3;
constexpr int level_info = 4;

// The bundle, whose lines are recorded from now on.
class BundleLogTest : public ::testing::Test {
protected:
    BundleLogTest() {
        EXPECT_EQ(0, _bundle.entry_point(2, reinterpret_cast<void*>(&record_line)));
        line_list.clear();
    }

    static void expect_line(std::size_t pos, int level, std::string const& text,
                            std::string const& path, std::string const& function) {
        ASSERT_LT(pos, line_list.size());
        Line const& line = line_list[pos];
        EXPECT_EQ("baplug", line.name);
        EXPECT_EQ(level, line.level);
        EXPECT_EQ(text, line.text);
        EXPECT_EQ(path + ", ", line.path.substr(0, path.size() + 2));
        EXPECT_EQ(path.size() + 2 + 11, line.path.size()); // the date, as "Oct 24 2013"
        EXPECT_NE(std::string::npos, line.function.find(function)) << line.function;
        EXPECT_EQ(0, line.cached);
    }

    static std::string address_of(void const* ptr) {
        char txt[32];
        std::snprintf(txt, sizeof(txt), "%lX", reinterpret_cast<unsigned long>(ptr));
        return txt;
    }

    test::BundleInstance _bundle;
    static constexpr char const* entry_path = "lib/ulk/ace/baplug/entry_point";
    static constexpr char const* factory_path = "lib/ulk/ace/baplug/Factory";
};

} // namespace

TEST_F(BundleLogTest, UnknownEntryCommands) {
    for (int cmd : {0, 3, -5}) {
        line_list.clear();
        EXPECT_EQ(-1, _bundle.entry_point(cmd, nullptr));
        EXPECT_EQ(1U, line_list.size());
        expect_line(0, level_warning,
                    "ulk_entry_point(): Unknown or not implemented command " + std::to_string(cmd) +
                        ".",
                    entry_path, "ulk_entry_point(");
    }
}

TEST_F(BundleLogTest, CreatingTheFactory) {
    test::Point point;
    ulk::pibase::BidirComPoint* com = &point.com;
    EXPECT_EQ(0, _bundle.entry_point(1, &com));
    EXPECT_EQ(2U, line_list.size());
    std::string const function = "int ulk::ace::baplug::create_factory(";
    expect_line(0, level_info, "create_factory(): Creating factory...", entry_path, function);
    expect_line(1, level_info, "create_factory(): Success.", entry_path, function);
}

TEST_F(BundleLogTest, UnknownFactoryCommands) {
    EXPECT_EQ(-1, _bundle.factory.send(0x1ABC));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_warning,
                "execute_command(): Unknown or not implemented command 0x1ABC (factory 0x" +
                    address_of(&_bundle.factory.com) + ")",
                factory_path, "ulk::ace::baplug::Factory::execute_command(int, void");
}

TEST_F(BundleLogTest, Instantiation) {
    test::Point point;
    std::string const function = "ulk::ace::baplug::Factory::instantiate(";
    EXPECT_EQ(-14478, _bundle.instantiate(nullptr, point));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_error, "instantiate(): Invalid argument.", factory_path, function);

    line_list.clear();
    EXPECT_EQ(-14498, _bundle.instantiate("Brevanto#%1%s", point));
    EXPECT_EQ(1U, line_list.size());
    expect_line(0, level_error, "instantiate(): Unknown plug-in identifier Brevanto#%1%s.",
                factory_path, function);

    line_list.clear();
    EXPECT_EQ(0, _bundle.instantiate("Brevanto#TessitoneBypass", point));
    expect_line(0, level_info, "instantiate(): Creating plugin Brevanto#TessitoneBypass...",
                factory_path, function);
    expect_line(line_list.size() - 1, level_info,
                "instantiate(): Success (0x" + address_of(&point.com) + ").", factory_path,
                function);
}
