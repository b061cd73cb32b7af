#include "ulk/udbg/LogMgr.h"

#include "support/RealTimeGuard.h"
#include "support/TempDir.h"
#include "ulk/udbg/log.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/LogMgr.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

using ulk::udbg::Debugger;
using ulk::udbg::LogMgr;

namespace {

struct Line {
    std::string name;
    int level;
    std::string text;
    std::string path;
    std::string function;
    long line;
    int cached;
};

std::vector<Line> line_list;
int callback_result = 0;

int record_line(int cmd, void* data) {
    EXPECT_EQ(1, cmd);
    auto const& rec = *static_cast<LogMgr::Record*>(data);
    line_list.push_back(
        {rec.name, rec.level, rec.text, rec.path, rec.function, rec.line, rec.cached});
    return callback_result;
}

thread_local long nbr_records = 0;

int count_line(int, void* data) {
    auto const& rec = *static_cast<LogMgr::Record*>(data);
    nbr_records += rec.cached == 1 && rec.text[0] != '\0' ? 1 : 0;
    return 0;
}

std::vector<std::string> syslog_list;

} // namespace

// Stand before those of the C library.
extern "C" void openlog(char const* ident, int option, int facility) {
    syslog_list.push_back("open " + std::string(ident) + " " + std::to_string(option) + " " +
                          std::to_string(facility));
}
extern "C" int setlogmask(int mask) noexcept {
    syslog_list.push_back("mask " + std::to_string(mask));
    return 255;
}
extern "C" void syslog(int priority, char const* format, ...) {
    char txt[4000];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(txt, sizeof(txt), format, args);
    va_end(args);
    syslog_list.push_back(std::to_string(priority) + " " + txt);
}

namespace {

class UdbgLogMgrTest : public ::testing::Test {
protected:
    UdbgLogMgrTest() {
        // A child that runs the test anew stands clear of threads that other tests left.
        ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    }
    // Modes are tested in children: an instance is one for the process, and so is its mode.
    template <class FNC>
    void run_in_child(FNC fnc) {
        EXPECT_EXIT(
            {
                fnc();
                std::fflush(stdout);
                _dir.reset();
                _exit(HasFailure() ? 1 : 0);
            },
            ::testing::ExitedWithCode(0), "");
    }
    std::string read_log() const {
        std::ifstream file(_name);
        std::ostringstream txt;
        txt << file.rdbuf();
        return txt.str();
    }
    // The last line of the file, from the fourth field on.
    std::string read_last() const {
        std::string const txt = read_log();
        auto pos = txt.rfind('\n', txt.size() - 2) + 1;
        for (int i = 0; i < 3; ++i) {
            pos = txt.find('\t', pos) + 1;
        }
        return txt.substr(pos);
    }
    void open_log() const { ulk::util::LogMgr::use_instance().open_file(_name.c_str()); }

    std::unique_ptr<test::TempDir> _dir = std::make_unique<test::TempDir>();
    std::string const _name = _dir->make_name("log");
};

using UdbgLogMgrDeathTest = UdbgLogMgrTest;

// Where the tree begins, as the compiler was told it: it need not be an absolute path.
std::string const root = [] {
    std::string const path = __FILE__;
    return path.substr(0, path.rfind("test/ulk/udbg/"));
}();

constexpr auto level_info = Debugger::Level_INFO;

template <class T>
class Templated {
public:
    [[maybe_unused]] int log_it(T const&) {
        ULK_LOG(INFO, "log_it(): %1%", sizeof(T));
        return __LINE__ - 1;
    }
};

} // namespace

TEST(DebuggerTest, Levels) {
    char const* const txt_arr[] = {"",     "PANIC", "ERROR",  "WARNING",
                                   "INFO", "DEBUG", "ASSERT", "OOPS"};
    int const prio_arr[] = {-1,       LOG_EMERG, LOG_ERR,   LOG_WARNING,
                            LOG_INFO, LOG_DEBUG, LOG_DEBUG, -1};
    for (int i = 0; i < 8; ++i) {
        EXPECT_STREQ(txt_arr[i], Debugger::get_level_txt(static_cast<Debugger::Level>(i)));
        EXPECT_EQ(prio_arr[i], Debugger::get_syslog_priority(static_cast<Debugger::Level>(i)));
    }
    EXPECT_STREQ("OOPS", Debugger::get_level_txt(static_cast<Debugger::Level>(-1)));
    EXPECT_EQ(2, Debugger::Level_ERROR);
    EXPECT_EQ(3, Debugger::Level_WARNING);
    EXPECT_EQ(4, Debugger::Level_INFO);
}

TEST(LogRecordTest, HasTheFieldsInTheirOrder) {
    EXPECT_LT(offsetof(LogMgr::Record, name), offsetof(LogMgr::Record, level));
    EXPECT_LT(offsetof(LogMgr::Record, level), offsetof(LogMgr::Record, text));
    EXPECT_LT(offsetof(LogMgr::Record, text), offsetof(LogMgr::Record, path));
    EXPECT_LT(offsetof(LogMgr::Record, path), offsetof(LogMgr::Record, function));
    EXPECT_LT(offsetof(LogMgr::Record, function), offsetof(LogMgr::Record, line));
    EXPECT_LT(offsetof(LogMgr::Record, line), offsetof(LogMgr::Record, cached));
    EXPECT_EQ(7 * sizeof(long), sizeof(LogMgr::Record));
}

TEST(LogMgrToolsTest, EscapeSlash) {
    std::string txt = "/a//b/";
    LogMgr::escape_slash(txt);
    EXPECT_EQ("//a////b//", txt);
    txt = "none";
    LogMgr::escape_slash(txt);
    EXPECT_EQ("none", txt);
    txt.clear();
    LogMgr::escape_slash(txt);
    EXPECT_EQ("", txt);
}

TEST_F(UdbgLogMgrDeathTest, WithoutAnyCreationItWorksAsUtil) {
    run_in_child([this] {
        open_log();
        LogMgr::use_instance().write(level_info, "text %1% %s", "a/b, date", "fnc()", 12);
        EXPECT_EQ("main\tINFO\ttext %1% %s\ta/b, date\tfnc()\t12\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, AnEmptyInstanceSwallowsAll) {
    run_in_child([this] {
        open_log();
        LogMgr::create_empty_if_not_existing();
        LogMgr::create_empty_if_not_existing();
        LogMgr::use_instance().write(level_info, "t", "s", "f", 1);
        LogMgr::create_as_win32_debugger(LogMgr::Config());
        LogMgr::use_instance().write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("Log started\t\n", read_last());
        LogMgr::create_as_util(LogMgr::Config());
        LogMgr::create_empty_if_not_existing(); // the instance stays as it is
        LogMgr::use_instance().write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("main\tINFO\tt\ts\tf\t1\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, UtilModeShowsWhatTheConfigSays) {
    run_in_child([this] {
        open_log();
        LogMgr::Config config;
        config.level_flag = false;
        config.function_flag = false;
        LogMgr::create_as_util(config);
        auto& mgr = LogMgr::use_instance();
        mgr.write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("main\tt\ts\t1\t\t\n", read_last());
        LogMgr::create_as_util(LogMgr::Config()); // already so: nothing changes
        mgr.write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("main\tt\ts\t1\t\t\n", read_last());
        LogMgr::create_as_win32_debugger(LogMgr::Config());
        LogMgr::create_as_util({false, false, false, false, false, false, 0});
        mgr.write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("t\t\t\n", read_last());
        mgr.indent(3);
        mgr.write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("   t\t\t\n", read_last());
        mgr.indent(-5);
        mgr.write(level_info, "t", "s", "f", 1);
        EXPECT_EQ("t\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, LevelsInUtilMode) {
    run_in_child([this] {
        open_log();
        auto& mgr = LogMgr::use_instance();
        mgr.write(static_cast<Debugger::Level>(0), "t", "s", "f", 1);
        EXPECT_EQ("main\t\tt\ts\tf\t1\t\t\n", read_last());
        mgr.write(static_cast<Debugger::Level>(7), "t", "s", "f", -1);
        EXPECT_EQ("main\tOOPS\tt\ts\tf\t-1\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, ThreadsAreIndentedInTheOrderOfTheirFirstLine) {
    run_in_child([this] {
        open_log();
        LogMgr::create_as_util({false, false, false, false, false, true, 2});
        auto& mgr = LogMgr::use_instance();
        mgr.write(level_info, "a", "", "", 1);
        EXPECT_EQ("a\t\t\n", read_last());
        std::thread([&] {
            mgr.write(level_info, "b", "", "", 1);
            EXPECT_EQ("  b\t\t\n", read_last());
            std::thread([&] { mgr.write(level_info, "c", "", "", 1); }).join();
            EXPECT_EQ("    c\t\t\n", read_last());
            mgr.write(level_info, "b", "", "", 1);
            EXPECT_EQ("  b\t\t\n", read_last());
        }).join();
        mgr.indent(1);
        mgr.write(level_info, "a", "", "", 1);
        EXPECT_EQ(" a\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, LongLinesAreCut) {
    run_in_child([this] {
        open_log();
        std::string const txt(2000, 'x');
        LogMgr::use_instance().write(level_info, txt.c_str(), "s", "f", 1);
        EXPECT_EQ("main\tINFO\t" + std::string(1023 - 10, 'x') + "\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, CachedLinesWait) {
    run_in_child([this] {
        open_log();
        LogMgr::use_instance().write_cache(level_info, "cached", "s", "f", 1);
        EXPECT_EQ("Log started\t\n", read_last());
        ulk::util::LogMgr::use_instance().flush();
        EXPECT_EQ("main\tINFO\tcached\ts\tf\t1\t\t\n", read_last());
    });
}

TEST_F(UdbgLogMgrDeathTest, PluginModeBuildsRecords) {
    run_in_child([] {
        LogMgr::create_as_plugin("sender", record_line);
        LogMgr::create_as_plugin("other", nullptr); // already so
        LogMgr::use_instance().write(Debugger::Level_ERROR, "t", "s", "f", 5);
        LogMgr::use_instance().write_cache(Debugger::Level_WARNING, "t2", "s2", "f2", -6);
        EXPECT_EQ(2U, line_list.size());
        EXPECT_EQ("sender", line_list[0].name);
        EXPECT_EQ(2, line_list[0].level);
        EXPECT_EQ("t", line_list[0].text);
        EXPECT_EQ("s", line_list[0].path);
        EXPECT_EQ("f", line_list[0].function);
        EXPECT_EQ(5, line_list[0].line);
        EXPECT_EQ(0, line_list[0].cached);
        EXPECT_EQ("t2", line_list[1].text);
        EXPECT_EQ(-6, line_list[1].line);
        EXPECT_EQ(1, line_list[1].cached);
    });
}

TEST_F(UdbgLogMgrDeathTest, NamesAreCutAt255) {
    run_in_child([] {
        LogMgr::create_as_plugin(std::string(300, 'n').c_str(), record_line);
        LogMgr::use_instance().write(level_info, "t", "s", "f", 5);
        EXPECT_EQ(std::string(255, 'n'), line_list.at(0).name);
        LogMgr::create_as_win32_debugger(LogMgr::Config());
        LogMgr::create_as_plugin("", record_line);
        LogMgr::use_instance().write(level_info, "t", "s", "f", 5);
        EXPECT_EQ("", line_list.at(1).name);
        LogMgr::create_as_win32_debugger(LogMgr::Config());
        LogMgr::create_as_plugin("nobody listens", nullptr);
        LogMgr::use_instance().write(level_info, "t", "s", "f", 5);
    });
}

TEST_F(UdbgLogMgrDeathTest, ExecuteCommandTakesRecords) {
    run_in_child([this] {
        open_log();
        LogMgr::Record rec = {"plug", 3, "text %1%", "path", "fnc", 9, 0};
        EXPECT_EQ(-1, LogMgr::execute_command(2, &rec));
        EXPECT_EQ(-1, LogMgr::execute_command(0, nullptr));
        EXPECT_EQ("Log started\t\n", read_last());
        EXPECT_EQ(0, LogMgr::execute_command(1, &rec)); // makes a util instance
        EXPECT_EQ("plug\tWARNING\ttext %1%\tpath\tfnc\t9\t\t\n", read_last());
        LogMgr::set_scope_crop("/src/"); // the sender has cropped already
        rec.cached = 1;
        rec.text = "later";
        EXPECT_EQ(0, LogMgr::execute_command(1, &rec));
        EXPECT_EQ("plug\tWARNING\ttext %1%\tpath\tfnc\t9\t\t\n", read_last());
        ulk::util::LogMgr::use_instance().flush();
        EXPECT_EQ("plug\tWARNING\tlater\tpath\tfnc\t9\t\t\n", read_last());

        LogMgr::create_as_plugin("chain", record_line);
        callback_result = -77;
        EXPECT_EQ(-77, LogMgr::execute_command(1, &rec));
        EXPECT_EQ("plug", line_list.at(0).name);
        EXPECT_EQ("path", line_list.at(0).path);
        LogMgr::create_as_win32_debugger(LogMgr::Config());
        EXPECT_EQ(0, LogMgr::execute_command(1, &rec));
        LogMgr::create_as_syslog("id");
        EXPECT_EQ(0, LogMgr::execute_command(1, &rec));
        EXPECT_EQ("4 plug later path fnc 9", syslog_list.back());
    });
}

TEST_F(UdbgLogMgrDeathTest, SyslogGetsTheLevelsThatHaveAPriority) {
    run_in_child([] {
        LogMgr::create_as_syslog("ident");
        LogMgr::create_as_syslog("again"); // already so
        EXPECT_EQ((std::vector<std::string>{"open ident 9 8", "mask 255"}), syslog_list);
        auto& mgr = LogMgr::use_instance();
        for (int level = 0; level < 9; ++level) {
            mgr.write(static_cast<Debugger::Level>(level), "%s%n", "src", "fnc", level);
        }
        mgr.write_cache(level_info, "c", "src", "fnc", 1);
        EXPECT_EQ((std::vector<std::string>{"open ident 9 8", "mask 255", "0 main %s%n src fnc 1",
                                            "3 main %s%n src fnc 2", "4 main %s%n src fnc 3",
                                            "6 main %s%n src fnc 4", "7 main %s%n src fnc 5",
                                            "7 main %s%n src fnc 6", "6 main c src fnc 1"}),
                  syslog_list);
    });
}

TEST_F(UdbgLogMgrDeathTest, PrintfModeEndsItsLines) {
    run_in_child([this] {
        LogMgr::create_as_printf(LogMgr::Config());
        std::fflush(stdout);
        int const saved = dup(1);
        EXPECT_NE(nullptr, std::freopen(_name.c_str(), "w", stdout));
        LogMgr::use_instance().write(level_info, "100%s", "s", "f", 1);
        LogMgr::use_instance().write_cache(level_info, "c", "s", "f", 1);
        std::fflush(stdout);
        dup2(saved, 1);
        EXPECT_EQ("main\tINFO\t100%s\ts\tf\t1\t\nmain\tINFO\tc\ts\tf\t1\t\n", read_log());
    });
}

TEST_F(UdbgLogMgrDeathTest, TheCropComesFromTheOwnPath) {
    run_in_child([] {
        LogMgr::create_as_plugin("p", record_line);
        auto& mgr = LogMgr::use_instance();
        auto const path_of = [&](char const* source) {
            mgr.write(level_info, "t", source, "f", 1);
            return line_list.back().path;
        };
        LogMgr::set_scope_crop(nullptr);
        LogMgr::set_scope_crop("/not there/");
        EXPECT_EQ("abc", path_of("abc"));
        LogMgr::set_scope_crop("/src/");
        auto const len =
            root.find("/src/") != std::string::npos ? root.find("/src/") + 5 : root.size() + 4;
        std::string const source = std::string(len, 'x') + "rest, date";
        EXPECT_EQ("rest, date", path_of(source.c_str()));
        EXPECT_EQ("", path_of(source.substr(0, len).c_str()));
        EXPECT_EQ("", path_of("short")); // not read beyond its end
        LogMgr::set_scope_crop("/not there/");
        EXPECT_EQ("rest, date", path_of(source.c_str())); // stays as it was
    });
}

TEST_F(UdbgLogMgrDeathTest, LibraryLogsLieInTheUsersFolder) {
    run_in_child([this] {
        std::string const state = _dir->make_name("home/state");
        setenv("XDG_STATE_HOME", state.c_str(), 1);
        LogMgr::create_as_util_library_logs("Some \"Maker\"; $(x)", "file.log", LogMgr::Config());
        std::string const name = state + "/Some \"Maker\"; $(x)/file.log";
        EXPECT_EQ(name, ulk::util::LogMgr::use_instance().get_filename());
        EXPECT_EQ(0, access(name.c_str(), R_OK));
        setenv("XDG_STATE_HOME", "/dev/null/none", 1);
        LogMgr::create_as_util_library_logs("folder", "file.log", LogMgr::Config());
        EXPECT_EQ(name, ulk::util::LogMgr::use_instance().get_filename());
    });
}

TEST_F(UdbgLogMgrDeathTest, DumpAbortLogsAndEnds) {
    EXPECT_EXIT(
        {
            _dir.reset();
            LogMgr::create_as_plugin("p", [](int, void* data) {
                return std::fputs(static_cast<LogMgr::Record*>(data)->text, stderr);
            });
            LogMgr::use_instance().write_dump_abort(Debugger::Level_ASSERT, "It failed", "s", "f",
                                                    3);
        },
        ::testing::KilledBySignal(SIGABRT), "It failed");
}

TEST_F(UdbgLogMgrDeathTest, StatementsFormatTheirArguments) {
    run_in_child([] {
        LogMgr::create_as_plugin("p", record_line);
        int object = 0;
        ULK_LOG(ERROR, "none 100%%");
        ULK_LOG(WARNING, "one %1%", 12);
        ULK_LOG(INFO, "%3% %2% %1%", "text", -5L, 2.5);
        ULK_LOG(INFO, "%1% %2% %3% %4% %5% %6% %7% %8%", 1, 2, 3, 4, 5, 6, 7, 8);
        ULK_LOG(INFO, "%1% %2%", true); // what is missing shows as 0
        ULK_LOG(INFO, "%1X%", static_cast<void const*>(&object));
        ULK_LOG(INFO, "%9%", 1); // nine are needed and eight come
        ULK_LOG_CACHE(INFO, "nan %1% %2% %3%", std::numeric_limits<double>::quiet_NaN(),
                      -std::numeric_limits<float>::infinity(),
                      std::numeric_limits<double>::infinity());
        ULK_LOG(INFO, "%1%", std::string(2000, 'x').c_str());
        char address[32];
        std::snprintf(address, sizeof(address), "%lX", reinterpret_cast<unsigned long>(&object));
        std::vector<std::string> const expected = {
            "none 100%", "one 12", "2.5 -5 text",      "1 2 3 4 5 6 7 8",     "1 0",
            address,     "",       "nan nan -inf inf", std::string(1023, 'x')};
        EXPECT_EQ(expected.size(), line_list.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(expected[i], line_list.at(i).text);
        }
        EXPECT_EQ(2, line_list[0].level);
        EXPECT_EQ(3, line_list[1].level);
        EXPECT_EQ(4, line_list[2].level);
        EXPECT_EQ(0, line_list[2].cached);
        EXPECT_EQ(1, line_list[7].cached);
    });
}

TEST_F(UdbgLogMgrDeathTest, StatementsTellWhereTheyStand) {
    run_in_child([] {
        LogMgr::create_as_plugin("p", record_line);
        long const line = Templated<char[3]>().log_it("ab");
        EXPECT_EQ(line, line_list.at(0).line);
        EXPECT_EQ("log_it(): 3", line_list[0].text);
        EXPECT_EQ(root + "test/ulk/udbg/LogMgrTest, " + __DATE__, line_list[0].path);
        EXPECT_TRUE(std::regex_search(line_list[0].function, // Clang puts the type for T
                                      std::regex(R"(^int .*Templated<(T|char\[3\])>::log_it\()")))
            << line_list[0].function;
        static constexpr auto no_ext = ulk::udbg::make_log_source("/a.b/c", "D");
        EXPECT_STREQ("/a.b/c, D", no_ext.txt);
        static constexpr auto two_ext = ulk::udbg::make_log_source("a/c.d.hpp", "");
        EXPECT_STREQ("a/c.d, ", two_ext.txt);
    });
}

TEST_F(UdbgLogMgrDeathTest, StatementsOnARealTimePathDoNothingForbidden) {
    run_in_child([] {
        LogMgr::create_as_plugin("p", count_line);
        std::string seen;
        {
            test::RealTimeGuard guard;
            for (int i = 0; i < 100; ++i) {
                ULK_LOG_CACHE(WARNING, "process(): %1% %2% %3%", i, "text", 0.1);
            }
            seen = guard.stop();
        }
        EXPECT_EQ("", seen);
        EXPECT_EQ(100, nbr_records);
    });
}

TEST_F(UdbgLogMgrDeathTest, UtilModeAllocatesNothingForACachedLine) {
    run_in_child([this] {
        open_log();
        LogMgr::use_instance().write(level_info, "t", "s", "f", 1);
        std::string seen;
        {
            test::RealTimeGuard guard(test::RealTimeGuard::Locks_ALLOWED);
            for (int i = 0; i < 60; ++i) {
                ULK_LOG_CACHE(WARNING, "process(): %1% %2% %3%", i, "text", 0.1);
            }
            seen = guard.stop();
        }
        EXPECT_EQ("", seen);
    });
}

TEST_F(UdbgLogMgrDeathTest, ThreadsMayLogFirstAllAtOnce) {
    run_in_child([this] {
        open_log();
        auto const run = [] {
            for (int i = 0; i < 500; ++i) {
                ULK_LOG_CACHE(INFO, "line %1%", i);
            }
        };
        std::thread a(run);
        std::thread b(run);
        run();
        a.join();
        b.join();
        ulk::util::LogMgr::use_instance().flush();
        std::string const txt = read_log();
        EXPECT_EQ(1501, std::count(txt.begin(), txt.end(), '\n'));
    });
}

TEST_F(UdbgLogMgrDeathTest, StreamsTellWhatTheyWereReading) {
    run_in_child([] {
        LogMgr::create_as_plugin("p", record_line);
        std::vector<unsigned char> const data = {0, 0, 0};
        ulk::util::BinaryStreamInput in(data);
        unsigned word = 0;
        EXPECT_EQ(-3994, in.read(word, "Word: Error %1% %s"));
        EXPECT_EQ(-3994, in.read(word, nullptr)); // says nothing
        double real = 0;
        EXPECT_EQ(-3994, in.read(real, "real"));
        std::vector<int> list;
        EXPECT_EQ(-3994, in.read(list, "list"));
        EXPECT_EQ(-3994, in.seek_beg(4, "seek"));
        EXPECT_EQ(-3994, in.advance(1, "advance"));
        EXPECT_EQ(-3994, in.seek_end(4, "seek"));
        struct Object {
            int read(ulk::util::BinaryStreamInput&) { return -5; }
        } object;
        EXPECT_EQ(-5, in.read(object, "object"));
        EXPECT_EQ(-5, in.read(object, nullptr));

        std::vector<std::string> const expected = {
            "int ulk::util::BinaryStreamInput::read(ulk::archi::UInt32&, const char*)",
            "int ulk::util::BinaryStreamInput::read(ulk::archi::UInt32&, const char*)",
            "int ulk::util::BinaryStreamInput::read(ulk::archi::UInt32&, const char*)",
            "int ulk::util::BinaryStreamInput::seek_beg(long unsigned int, const char*)",
            "int ulk::util::BinaryStreamInput::advance(long int, const char*)",
            "int ulk::util::BinaryStreamInput::seek_end(long unsigned int, const char*)"};
        EXPECT_EQ(expected.size() + 1, line_list.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            // The compilers differ in blanks, in the names of long types and in how far they spell
            // names out.
            auto const plain = [](std::string const& txt) {
                std::string const no_int =
                    std::regex_replace(txt, std::regex("long unsigned int|long int"), "long");
                return std::regex_replace(no_int, std::regex(" |unsigned|ulk::archi::|archi::"),
                                          "");
            };
            EXPECT_EQ(plain(expected[i]), plain(line_list[i].function));
            EXPECT_EQ(root + "src/lib/ulk/util/BinaryStreamInput, " + __DATE__, line_list[i].path);
            EXPECT_EQ(2, line_list[i].level);
        }
        EXPECT_EQ("Word: Error %1% %s", line_list[0].text);
        EXPECT_EQ("object", line_list.back().text);
        EXPECT_NE(std::string::npos, line_list.back().function.find("T = "));
    });
}
