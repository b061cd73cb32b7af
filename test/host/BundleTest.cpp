#include "host/Bundle.h"

#include "host/Error.h"
#include "ulk/sys/SharedLibrary.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using ulk::host::Bundle;
using ulk::host::Error;

namespace {

constexpr char bundle_path[] = BUILD_DIR "/baplug.so";
constexpr char bypass_id[] = "Brevanto#TessitoneBypass";

std::string run(std::string const& command) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string text;
    std::array<char, 256> buf;
    while (std::fgets(buf.data(), buf.size(), pipe.get()) != nullptr) {
        text += buf.data();
    }
    return text;
}

// What went wrong on the way to a bundle or a plug-in.
template <class Fnc>
std::string catch_error(Error::Kind kind, Fnc fnc) {
    try {
        fnc();
    } catch (Error const& e) {
        EXPECT_EQ(kind, e.get_kind());
        return e.what();
    }
    ADD_FAILURE() << "no error";
    return {};
}

} // namespace

TEST(BundleTest, ExportsTheEntryPointAlone) {
    std::string const text = run(std::string("nm -D --defined-only --format=posix ") + bundle_path);
    EXPECT_EQ(text.find("ulk_entry_point T "), 0u) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}

TEST(BundleTest, TwoCopiesLiveSideBySide) {
    std::string const copy_path = ::testing::TempDir() + "baplug_copy.so";
    std::filesystem::copy_file(bundle_path, copy_path,
                               std::filesystem::copy_options::overwrite_existing);
    {
        Bundle first(bundle_path);
        Bundle second(copy_path);
        auto const a = first.instantiate(bypass_id);
        auto const b = second.instantiate(bypass_id);
        EXPECT_EQ((std::vector<long>{2}), a->get_pin_conf().in);
        EXPECT_EQ((std::vector<long>{2}), b->get_pin_conf().out);
    }
    std::filesystem::remove(copy_path);
}

TEST(BundleTest, LoadsAgainAndAgain) {
    for (int i = 0; i < 20; ++i) {
        Bundle bundle(bundle_path);
        EXPECT_NE(nullptr, bundle.instantiate(bypass_id));
    }
}

TEST(BundleTest, InstancesOutliveIt) {
    std::unique_ptr<ulk::host::Plugin> plugin;
    {
        Bundle bundle(bundle_path);
        plugin = bundle.instantiate(bypass_id);
    }
    EXPECT_EQ((std::vector<long>{2}), plugin->get_pin_conf().in);
}

TEST(BundleTest, ListsWhatTheFactoryDescribes) {
    Bundle bundle(bundle_path);
    EXPECT_EQ((std::vector<std::string>{
                  "Brevanto#TessitoneAudioInput", "Brevanto#TessitoneAudioOutput",
                  "Brevanto#TessitoneAudioTape", bypass_id, "Brevanto#TessitoneDryWet"}),
              bundle.list_plugins());
    EXPECT_EQ(228u, bundle.describe().size());
}

TEST(BundleTest, ErrorsNameTheFile) {
    auto const load = [](char const* path) {
        return catch_error(Error::Kind_MATERIAL, [path] { Bundle bundle(path); });
    };
    EXPECT_EQ("/no/such/file.so: no such bundle", load("/no/such/file.so"));
    EXPECT_EQ(0u, load(SOURCE_DIR "/README.md").find(SOURCE_DIR "/README.md: the bundle does not"));
    std::string const other = run("ldconfig -p | sed -n 's/.*libm.so.6 .*=> //p' | head -n 1");
    std::string const other_path = other.substr(0, other.find('\n'));
    EXPECT_EQ(other_path + ": no bundle: it exports no ulk_entry_point", load(other_path.c_str()));
}

TEST(BundleTest, UnknownIdentifierTellsTheKnownOnes) {
    Bundle bundle(bundle_path);
    std::string const text =
        catch_error(Error::Kind_USE, [&bundle] { bundle.instantiate("Brevanto#Nothing"); });
    EXPECT_EQ(0u, text.find("Brevanto#Nothing: no such plug-in in "));
    EXPECT_NE(std::string::npos, text.find(std::string("\n  ") + bypass_id)) << text;
}
