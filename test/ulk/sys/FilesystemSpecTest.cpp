#include "ulk/sys/FilesystemSpec.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using ulk::sys::FilesystemSpec;

namespace {

std::string simplify(std::string path) {
    EXPECT_EQ(0, FilesystemSpec::use_instance().simplify_path(path));
    return path;
}

// Step by step, as the rule is told.
std::string simplify_model(std::string const& path) {
    std::vector<std::string> list(1);
    for (char c : path) {
        if (c == '/') {
            list.emplace_back();
        } else {
            list.back() += c;
        }
    }
    std::erase(list, ".");
    for (;;) {
        auto const it = std::find(list.begin(), list.end(), "..");
        if (it == list.end()) {
            break;
        }
        list.erase(it == list.begin() ? it : it - 1, it + 1);
    }
    std::string result;
    for (auto const& piece : list) {
        result.append("/").append(piece);
    }
    return result;
}

} // namespace

TEST(FilesystemSpecTest, RulesOfNames) {
    FilesystemSpec& spec = FilesystemSpec::use_instance();
    EXPECT_EQ(&spec, &FilesystemSpec::use_instance());
    EXPECT_FALSE(spec.is_case_sensitive());
    EXPECT_EQ(1024, spec.get_max_filename_length());
    EXPECT_EQ(1024, spec.get_max_pathname_length());
    EXPECT_TRUE(spec.is_dir_delimiter(L'/'));
    EXPECT_FALSE(spec.is_dir_delimiter(L'\\'));
    EXPECT_FALSE(spec.is_dir_delimiter(L':'));
    EXPECT_EQ(L'/', spec.get_default_dir_delimiter());
}

TEST(FilesystemSpecTest, PathsSimplify) {
    EXPECT_EQ("//a/c", simplify("/a/./b/../c"));
    EXPECT_EQ("//b", simplify("/a/../b"));
    EXPECT_EQ("/a/b", simplify("a/b"));
    EXPECT_EQ("/", simplify(""));
    EXPECT_EQ("//", simplify("/"));
    EXPECT_EQ("//a/", simplify("/a/"));
    EXPECT_EQ("//a//b", simplify("/a//b"));
    EXPECT_EQ("//a/..b/c..", simplify("/a/..b/c.."));
    EXPECT_EQ("/...", simplify("..."));
}

TEST(FilesystemSpecTest, NothingBeforeADoubleDotIsNoFailure) {
    EXPECT_EQ("", simplify("."));
    EXPECT_EQ("", simplify(".."));
    EXPECT_EQ("", simplify("/.."));
    EXPECT_EQ("", simplify("a/.."));
    EXPECT_EQ("/x", simplify("../x"));
    EXPECT_EQ("/x", simplify("/../../../x"));
}

TEST(FilesystemSpecTest, PathsSimplifyByTheRule) {
    std::mt19937 rng(1);
    for (int i = 0; i < 50000; ++i) {
        std::string path;
        for (unsigned n = rng() % 16; n > 0; --n) {
            path += "//..a"[rng() % 5];
        }
        ASSERT_EQ(simplify_model(path), simplify(path)) << path;
    }
}
