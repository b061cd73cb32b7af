#include "ulk/util/LogMgr.h"

#include "support/AllocFault.h"
#include "support/RealTimeGuard.h"
#include "support/TempDir.h"
#include "ulk/sys/ThreadMgr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using ulk::util::LogLine;
using ulk::util::LogMgr;

namespace {

std::string read_file(std::string const& name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream txt;
    txt << file.rdbuf();
    return txt.str();
}

std::vector<std::string> split(std::string const& txt, char sep) {
    std::vector<std::string> list;
    std::istringstream stream(txt);
    for (std::string part; std::getline(stream, part, sep);) {
        list.push_back(part);
    }
    return list;
}

class LogMgrTest : public ::testing::Test {
protected:
    LogMgrTest() { LogMgr::force_destroy(); }
    ~LogMgrTest() override { LogMgr::force_destroy(); }

    // Messages in the file, checked to be numbered without a hole from `first`.
    static std::vector<std::string> read_messages(std::string const& name, long first = 0) {
        std::vector<std::string> list;
        for (auto const& line : split(read_file(name), '\n')) {
            auto const part_arr = split(line, '\t');
            EXPECT_GE(part_arr.size(), 4U) << line;
            EXPECT_EQ(std::to_string(first++), part_arr[0]);
            list.push_back(part_arr[3]);
        }
        return list;
    }

    test::TempDir _dir;
    std::string const _name = _dir.make_name("a.log");
};

using List = std::vector<std::string>;

} // namespace

TEST(LogLineTest, KeepsWhatFits) {
    LogLine line;
    EXPECT_EQ(-1.0, line.get_date());
    EXPECT_EQ(-1, line.get_order());
    EXPECT_EQ(-1, line.get_line());
    EXPECT_STREQ("", line.get_msg());
    EXPECT_STREQ("", line.get_scope());
    std::string const whole(1023, 'm');
    line.set_log(7, 1.5, whole.c_str(), (whole + "x").c_str(), 12);
    EXPECT_EQ(whole, line.get_msg());
    EXPECT_EQ(whole, line.get_scope()); // 1024 lose the last
    EXPECT_EQ(1.5, line.get_date());
    EXPECT_EQ(7, line.get_order());
    EXPECT_EQ(12, line.get_line());
    line.set_log(8, 0, "short", "", -1);
    EXPECT_STREQ("short", line.get_msg());
    EXPECT_STREQ("", line.get_scope());
}

TEST_F(LogMgrTest, LinesOfTheFile) {
    auto& mgr = LogMgr::use_instance();
    EXPECT_EQ(&mgr, &LogMgr::use_instance());
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    EXPECT_EQ(_name, mgr.get_filename());
    mgr.write("text with %s and %1%", "scope", 0);
    mgr.write("m", "scope", 1);
    mgr.write("m", "", -1);
    mgr.write("m", "", 1000);
    std::string const id = std::to_string(ulk::sys::ThreadMgr::get_current_thread_id());
    std::string const head = "\t" + id + R"(\t\d+\.\d{3}\t)";
    std::regex const expected("0" + head + "Log started\t\n1" + head +
                              "text with %s and %1%\tscope\n2" + head + "m\tscope, 1\n3" + head +
                              "m\t\n4" + head + "m\t, 1000\n");
    EXPECT_TRUE(std::regex_match(read_file(_name), expected)) << read_file(_name);
}

TEST_F(LogMgrTest, CachedLinesWaitUntilTheRingIsFull) {
    auto& mgr = LogMgr::use_instance();
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    for (int i = 0; i < 63; ++i) {
        EXPECT_FALSE(mgr.needs_flush());
        mgr.write_cache(std::to_string(i).c_str(), "", -1);
    }
    EXPECT_TRUE(mgr.needs_flush());
    EXPECT_EQ(List{"Log started"}, read_messages(_name));
    mgr.write_cache("63", "", -1); // flushes, and waits itself
    List list = read_messages(_name);
    EXPECT_EQ(64U, list.size());
    EXPECT_EQ("62", list.back());
    EXPECT_FALSE(mgr.needs_flush());
    mgr.flush();
    EXPECT_EQ("63", read_messages(_name).back());
    mgr.write_cache("64", "", -1);
    mgr.write("65", "", -1); // takes the waiting line along, in order
    list = read_messages(_name);
    EXPECT_EQ(67U, list.size());
    EXPECT_EQ("65", list.back());
}

TEST_F(LogMgrTest, LogStartedIsTheFirstLineOfAFile) {
    auto& mgr = LogMgr::use_instance();
    mgr.write_cache("for nobody", "", -1);
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    EXPECT_EQ(List{"Log started"}, read_messages(_name, 1));
    mgr.write_cache("for a", "", -1);
    std::string const other = _dir.make_name("b.log");
    ASSERT_EQ(0, mgr.open_file(other.c_str()));
    EXPECT_EQ((List{"Log started", "for a"}), read_messages(_name, 1));
    EXPECT_EQ(List{"Log started"}, read_messages(other, 3));
    mgr.write("for b", "", -1);
    EXPECT_EQ((List{"Log started", "for b"}), read_messages(other, 3));
    ASSERT_EQ(0, mgr.open_file(_name.c_str())); // truncates
    EXPECT_EQ(List{"Log started"}, read_messages(_name, 5));
}

TEST_F(LogMgrTest, AnUnwritablePathLeavesNoFileOpen) {
    auto& mgr = LogMgr::use_instance();
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    mgr.write_cache("for the first", "", -1);
    EXPECT_EQ(-1, mgr.open_file(_dir.make_name("no/such/folder").c_str()));
    EXPECT_EQ("", mgr.get_filename());
    mgr.write("lost", "", -1);
    EXPECT_EQ((List{"Log started", "for the first"}), read_messages(_name));
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    EXPECT_EQ(List{"Log started"}, read_messages(_name, 3));
}

TEST_F(LogMgrTest, ClosingKeepsOrEmptiesTheName) {
    auto& mgr = LogMgr::use_instance();
    EXPECT_EQ(0, mgr.close_file()); // none is open
    EXPECT_EQ(0, mgr.close_file_no_guard());
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    mgr.write_cache("waits", "", -1);
    EXPECT_EQ(0, mgr.close_file_no_guard());
    EXPECT_EQ(_name, mgr.get_filename());
    EXPECT_EQ((List{"Log started", "waits"}), read_messages(_name));
    mgr.write("lost", "", -1);
    EXPECT_EQ(0, mgr.close_file());
    EXPECT_EQ("", mgr.get_filename());
    EXPECT_EQ((List{"Log started", "waits"}), read_messages(_name));
}

TEST_F(LogMgrTest, TheAuxiliaryStreamGetsTheMessages) {
    auto& mgr = LogMgr::use_instance();
    std::string const aux_name = _dir.make_name("aux");
    std::FILE* const aux = std::fopen(aux_name.c_str(), "w");
    mgr.write_cache("before", "scope", 3);
    mgr.use_aux_stream(aux);
    mgr.write("during", "scope", 3);
    mgr.write_cache("waits", "scope", 3);
    mgr.stop_using_aux_stream();
    mgr.write("after", "scope", 3);
    std::fclose(aux);
    EXPECT_EQ("during\t\nwaits\t\n", read_file(aux_name));
}

TEST_F(LogMgrTest, NothingIsWrittenAfterTheMillionthLine) {
    auto& mgr = LogMgr::use_instance();
    for (long i = 0; i < LogMgr::MAX_NBR_LINES - 2; ++i) {
        mgr.write_cache("x", "", -1);
    }
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    mgr.write("last", "", -1);
    mgr.write("lost", "", -1);
    mgr.write_cache("lost", "", -1);
    mgr.flush();
    EXPECT_EQ((List{"Log started", "last"}), read_messages(_name, LogMgr::MAX_NBR_LINES - 2));
    std::string const other = _dir.make_name("b.log");
    EXPECT_EQ(0, mgr.open_file(other.c_str()));
    EXPECT_EQ("", read_file(other));
}

TEST_F(LogMgrTest, DestructionFlushes) {
    ASSERT_EQ(0, LogMgr::use_instance().open_file(_name.c_str()));
    LogMgr::use_instance().write_cache("waits", "", -1);
    LogMgr::force_destroy();
    EXPECT_EQ((List{"Log started", "waits"}), read_messages(_name));
    LogMgr::force_destroy(); // nothing there
    ASSERT_EQ(0, LogMgr::use_instance().open_file(_name.c_str()));
    EXPECT_EQ(List{"Log started"}, read_messages(_name)); // counts from 0 again
}

TEST_F(LogMgrTest, AFullDeviceIsSwallowed) {
    if (!std::filesystem::exists("/dev/full")) {
        return;
    }
    auto& mgr = LogMgr::use_instance();
    EXPECT_EQ(0, mgr.open_file("/dev/full"));
    mgr.write("lost", "", -1);
    EXPECT_EQ(0, mgr.close_file());
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    EXPECT_EQ(List{"Log started"}, read_messages(_name, 2));
}

TEST_F(LogMgrTest, CachedWritesAllocateNothing) {
    auto& mgr = LogMgr::use_instance();
    ASSERT_EQ(0, mgr.open_file(_name.c_str()));
    std::string const msg(1500, 'm');
    test::RealTimeGuard const guard(test::RealTimeGuard::Locks_ALLOWED);
    for (int i = 0; i < 63; ++i) {
        mgr.write_cache(msg.c_str(), "scope", i);
    }
}

TEST_F(LogMgrTest, ThreadsLoseNoLine) {
    constexpr int nbr = 2000;
    ASSERT_EQ(0, LogMgr::use_instance().open_file(_name.c_str()));
    auto const run = [](char const* who) {
        for (int i = 0; i < nbr; ++i) {
            LogMgr& mgr = LogMgr::use_instance();
            i % 7 == 0 ? mgr.write(who, "", i) : mgr.write_cache(who, "", i);
        }
    };
    std::thread a(run, "a");
    std::thread b(run, "b");
    run("c");
    a.join();
    b.join();
    LogMgr::use_instance().flush();
    List const list = read_messages(_name); // numbered without a hole
    EXPECT_EQ(3U * nbr + 1, list.size());
    for (char const* who : {"a", "b", "c"}) {
        EXPECT_EQ(nbr, std::count(list.begin(), list.end(), who));
    }
}
