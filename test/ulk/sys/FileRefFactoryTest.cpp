#include "ulk/sys/FileRefFactory.h"

#include "support/EnvScope.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

using test::EnvScope;
using ulk::sys::FileRefFactory;

namespace {

class FileRefFactoryTest : public ::testing::Test {
protected:
    using Ptr = FileRefFactory::Ptr;

    static std::string get_path(Ptr const& ref) {
        return ref.get() != nullptr ? ref->to_utf8_path() : "none";
    }
    std::string make_name(std::string const& name) const {
        return (std::filesystem::canonical(_dir.get_path()) / name).string();
    }

    test::TempDir _dir;
    EnvScope _home{"HOME", _dir.get_path().c_str()};
    EnvScope _state{"XDG_STATE_HOME", nullptr};
    EnvScope _config{"XDG_CONFIG_HOME", nullptr};
    EnvScope _cache{"XDG_CACHE_HOME", nullptr};
};

} // namespace

TEST_F(FileRefFactoryTest, PathsThatLeadNowhereGiveNull) {
    EXPECT_EQ(nullptr, FileRefFactory::from_utf8_path("").get());
    EXPECT_EQ(nullptr, FileRefFactory::from_utf8_path("/no/such/file").get());
    EXPECT_EQ(nullptr, FileRefFactory::from_utf8_path(std::string("/tmp\0x", 6)).get());
    EXPECT_EQ(nullptr, FileRefFactory::from_fsref(nullptr).get());
    EXPECT_EQ("/", get_path(FileRefFactory::from_utf8_path("/tmp/..")));
}

TEST_F(FileRefFactoryTest, FileUrls) {
    std::string const path = make_name("a b%c#\xC3\xA9");
    std::ofstream(path) << "x";
    std::string const encoded = make_name("a%20b%25c%23%C3%a9");
    for (char const* const head : {"file://", "file://localhost", "FILE:", "file://LocalHost"}) {
        EXPECT_EQ(path, get_path(FileRefFactory::from_file_url(head + encoded))) << head;
    }
    EXPECT_EQ(path, get_path(FileRefFactory::from_file_url("file://" + encoded + "?query#mark")));
    for (std::string const url :
         {"", "file:", "file://", "http://", "file://elsewhere/tmp", "file:tmp", "/tmp",
          "file:///tmp%", "file:///tmp%2", "file:///tmp%2g", "file:///tmp%00", "file:///none"}) {
        EXPECT_EQ(nullptr, FileRefFactory::from_file_url(url).get()) << url;
    }
    EXPECT_EQ("/tmp", get_path(FileRefFactory::from_file_url("file:///%74mp")));
    EXPECT_EQ("/", get_path(FileRefFactory::from_file_url("file:///")));
}

TEST_F(FileRefFactoryTest, UsersFoldersAreMadeForTheUserAlone) {
    EXPECT_EQ(make_name("Documents"), get_path(FileRefFactory::get_user_documents()));
    EXPECT_EQ(make_name("Desktop"), get_path(FileRefFactory::get_user_desktop()));
    EXPECT_EQ(make_name(".local/state"), get_path(FileRefFactory::get_user_log()));
    EXPECT_EQ(make_name(".config"), get_path(FileRefFactory::get_user_preferences()));
    EXPECT_EQ(make_name(".cache"), get_path(FileRefFactory::get_user_cache()));
    for (char const* const name : {"Documents", ".local", ".local/state", ".config", ".cache"}) {
        struct stat st = {};
        ASSERT_EQ(0, ::stat(make_name(name).c_str(), &st));
        EXPECT_EQ(0700u, st.st_mode & 0777u) << name;
    }
}

TEST_F(FileRefFactoryTest, SettingsOfTheEnvironmentCountIfAbsolute) {
    std::string const place = make_name("place/deep/");
    EnvScope const state("XDG_STATE_HOME", place.c_str());
    EnvScope const config("XDG_CONFIG_HOME", "relative/path");
    EnvScope const cache("XDG_CACHE_HOME", "");
    EnvScope const temp("TMPDIR", place.c_str());
    EXPECT_EQ(make_name("place/deep"), get_path(FileRefFactory::get_user_log()));
    EXPECT_EQ(make_name(".config"), get_path(FileRefFactory::get_user_preferences()));
    EXPECT_EQ(make_name(".cache"), get_path(FileRefFactory::get_user_cache()));
    EXPECT_EQ(make_name("place/deep"), get_path(FileRefFactory::get_temporary()));
    {
        EnvScope const unset("TMPDIR", "tmp");
        EXPECT_EQ(std::filesystem::canonical("/tmp"), get_path(FileRefFactory::get_temporary()));
    }
    EnvScope const home("HOME", "no/home");
    EXPECT_NE(std::string::npos, get_path(FileRefFactory::get_user_cache()).rfind('/', 0));
}

TEST_F(FileRefFactoryTest, UserDirsFileNamesDocumentsAndDesktop) {
    std::filesystem::create_directory(make_name(".config"));
    auto const set = [&](std::string const& txt) {
        std::ofstream(make_name(".config/user-dirs.dirs")) << txt;
    };
    auto const get = [] { return get_path(FileRefFactory::get_user_documents()); };
    set("# XDG_DOCUMENTS_DIR=\"$HOME/no\"\nXDG_DESKTOP_DIR=\"$HOME/Bureau\"\n"
        "  XDG_DOCUMENTS_DIR=\"$HOME/Mes \\\"textes\\\"\"\n");
    EXPECT_EQ(make_name("Mes \"textes\""), get());
    EXPECT_EQ(make_name("Bureau"), get_path(FileRefFactory::get_user_desktop()));
    set("XDG_DOCUMENTS_DIR=\"" + make_name("abs") + "/\"\n");
    EXPECT_EQ(make_name("abs"), get());
    set("XDG_DOCUMENTS_DIR=\"$HOME/a\"\nXDG_DOCUMENTS_DIR=\"$HOME/b\"");
    EXPECT_EQ(make_name("b"), get());
    set("XDG_DOCUMENTS_DIR=\"$HOME/\"");
    EXPECT_EQ(make_name("."), get() + "/.");
    for (char const* const txt : {"", "XDG_DOCUMENTS_DIR=", "XDG_DOCUMENTS_DIR=\"rel\"",
                                  "XDG_DOCUMENTS_DIR=\"\"", "XDG_DOCUMENTS_DIRS=\"/tmp\"",
                                  "XDG_DOCUMENTS_DIR=/tmp", "XDG_DOCUMENTS_DIR=\"$HOMEX/a\""}) {
        set(txt);
        EXPECT_EQ(make_name("Documents"), get()) << txt;
    }
}

TEST_F(FileRefFactoryTest, AFileIsNoFolder) {
    std::ofstream(make_name("Documents")) << "x";
    EXPECT_EQ(nullptr, FileRefFactory::get_user_documents().get());
    std::ofstream(make_name(".local")) << "x";
    EXPECT_EQ(nullptr, FileRefFactory::get_user_log().get());
}

TEST_F(FileRefFactoryTest, WellKnownPlaces) {
    std::string const old = std::filesystem::current_path();
    std::filesystem::current_path(_dir.get_path());
    EXPECT_EQ(std::filesystem::canonical(_dir.get_path()),
              get_path(FileRefFactory::get_working_dir()));
    using F = FileRefFactory;
    auto const same = [](Ptr const& a, F::Path path) {
        Ptr const b = F::get_path(path);
        EXPECT_EQ(get_path(a), get_path(b));
    };
    same(F::get_system_root(), F::Path_SYSTEM_ROOT);
    same(F::get_working_dir(), F::Path_WORKING_DIR);
    same(F::get_cur_application(), F::Path_CUR_APPLICATION);
    same(F::get_user_documents(), F::Path_USER_DOCUMENTS);
    same(F::get_user_desktop(), F::Path_USER_DESKTOP);
    same(F::get_user_log(), F::Path_USER_LOG);
    same(F::get_user_preferences(), F::Path_USER_PREFERENCES);
    same(F::get_user_cache(), F::Path_USER_CACHE);
    same(F::get_fonts(), F::Path_FONTS);
    same(F::get_common_preferences(), F::Path_COMMON_PREFERENCES);
    std::filesystem::current_path(old);
    EXPECT_EQ("/", get_path(F::get_system_root()));
    EXPECT_EQ(std::filesystem::canonical("/proc/self/exe"), get_path(F::get_cur_application()));
    EXPECT_EQ(std::filesystem::canonical("/usr/bin"), get_path(F::get_applications()));
    EXPECT_EQ(nullptr, F::get_path(static_cast<F::Path>(10)).get());
    EXPECT_EQ(nullptr, F::get_path(static_cast<F::Path>(-1)).get());
}

TEST_F(FileRefFactoryTest, FolderTypesAreFourCharacters) {
    EXPECT_EQ(0x646F6373ul, FileRefFactory::make_folder_type("docs"));
    EXPECT_EQ(make_name("Documents"),
              get_path(FileRefFactory::from_folder_type(-32763, 0x646F6373ul)));
    EXPECT_EQ(nullptr, FileRefFactory::from_folder_type(-32765, 0x646F6373ul).get());
    EXPECT_EQ(nullptr, FileRefFactory::from_folder_type(0, 0).get());
}
