// The examples render as they stand, without a loss, to the sound that is known of them.

#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <map>

namespace {

namespace fs = std::filesystem;

// By the file's name: hash and frames.
std::map<std::string, std::pair<std::string, long long>> read_goldens() {
    std::map<std::string, std::pair<std::string, long long>> goldens;
    std::ifstream file(TEST_DATA_DIR "/examples.txt");
    std::string name;
    std::string hash;
    for (long long nbr_frames = 0; file >> name >> hash >> nbr_frames;) {
        goldens[name] = {hash, nbr_frames};
    }
    return goldens;
}

} // namespace

TEST(ExamplesTest, RenderToTheirKnownSound) {
    test::TempDir const dir;
    auto goldens = read_goldens();
    ASSERT_EQ(10u, goldens.size());
    for (auto const& entry : fs::directory_iterator(SOURCE_DIR "/examples")) {
        auto const extension = entry.path().extension();
        if (extension != ".toml" && extension != ".json") {
            continue;
        }
        std::string const name = entry.path().filename();
        auto const run = test::CommandRun::run(dir.get_path(), "render '" + entry.path().string() +
                                                                   "' -o out.wav --strict --json");
        EXPECT_EQ(0, run.code) << name << ": " << run.err;
        EXPECT_EQ("", run.err) << name;
        auto const report = nlohmann::json::parse(run.out);
        EXPECT_EQ(goldens[name].first, report["sound"]["hash_xxh3"]) << name;
        EXPECT_EQ(goldens[name].second, report["frames"]) << name;
        goldens.erase(name);
    }
    for (auto const& golden : goldens) {
        ADD_FAILURE() << golden.first << " is not there";
    }
}
