#include "host/Log.h"

#include "host/Error.h"
#include "support/RealTimeGuard.h"
#include "support/TempDir.h"
#include "ulk/udbg/LogMgr.h"
#include "ulk/util/LogMgr.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

using ulk::host::Log;
using Record = ulk::udbg::LogMgr::Record;

namespace {

int send(int level, char const* text, int cached) {
    Record rec = {"plug", level, text, "path", "fnc", 1, cached};
    return Log::receive(1, &rec);
}

} // namespace

TEST(LogTest, WarningsAndErrorsGoToStandardError) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, send(4, "info", 0));
    EXPECT_EQ(0, send(3, "some %s", 0));
    EXPECT_EQ(0, send(2, "worse", 0));
    EXPECT_EQ(0, send(5, "debug", 0));
    EXPECT_EQ(-1, Log::receive(2, nullptr));
    EXPECT_EQ("plug: WARNING: some %s\nplug: ERROR: worse\n",
              testing::internal::GetCapturedStderr());
}

TEST(LogTest, CachedLinesAreHeldWithoutASystemCall) {
    testing::internal::CaptureStderr();
    send(4, "the managers stand", 0);
    Log::flush();
    {
        test::RealTimeGuard const guard(test::RealTimeGuard::Locks_ALLOWED);
        for (int i = 0; i < 60; ++i) {
            send(i == 0 ? 3 : 4, "held", 1);
        }
    }
    send(2, "now", 0);
    send(3, "held", 1);
    Log::flush();
    for (int i = 0; i < 70; ++i) {
        send(2, "many", 1);
    }
    Log::flush();
    std::string expected = "plug: WARNING: held\nplug: ERROR: now\nplug: WARNING: held\n";
    for (int i = 0; i < 63; ++i) {
        expected += "plug: ERROR: many\n";
    }
    EXPECT_EQ(expected + "7 more lines were lost\n", testing::internal::GetCapturedStderr());
}

TEST(LogTest, TheFileKeepsAll) {
    test::TempDir dir;
    std::string const name = dir.make_name("log");
    Log::keep_all(name);
    send(4, "info", 0);
    send(4, "cached", 1);
    Log::flush();
    ulk::util::LogMgr::use_instance().close_file();
    std::ifstream file(name);
    std::ostringstream txt;
    txt << file.rdbuf();
    EXPECT_NE(std::string::npos, txt.str().find("Log started\t\n"));
    EXPECT_NE(std::string::npos, txt.str().find("plug\tINFO\tinfo\tpath\tfnc\t1\t\t\n"));
    EXPECT_NE(std::string::npos, txt.str().find("plug\tINFO\tcached\tpath\tfnc\t1\t\t\n"));
    EXPECT_THROW(Log::keep_all(dir.make_name("no/folder")), ulk::host::Error);
}
