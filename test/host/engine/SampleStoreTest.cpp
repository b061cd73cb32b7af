#include "host/engine/SampleStore.h"

#include "host/engine/RenderRig.h"
#include "support/FileFault.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/vendor_cmd.h"

#include <cerrno>

using namespace ulk::host::engine;
using test::RenderRig;

namespace {

// A system that opens no file for a store that has max_open of them.
class OpenLimit : public test::FileFault::SysCall::Filter {
public:
    OpenLimit(SampleStore const& store, int max_open)
        : _store(store)
        , _max_open(max_open) {
        test::FileFault::SysCall::set_filter(this);
    }
    OpenLimit(OpenLimit const&) = delete;
    OpenLimit& operator=(OpenLimit const&) = delete;
    ~OpenLimit() override { test::FileFault::SysCall::set_filter(nullptr); }

protected:
    long do_check(test::FileFault::SysCall::Op op, long) override {
        return op == test::FileFault::SysCall::Op_OPEN && _store.get_nbr_open() >= _max_open
                   ? -EMFILE
                   : 0;
    }

private:
    SampleStore const& _store;
    int _max_open;
};

class SampleStoreTest : public ::testing::Test, public RenderRig {
protected:
    // Files of 100, 101 ... frames.
    void add_files(int nbr_files) {
        for (int file = 0; file < nbr_files; ++file) {
            add_noise(1 + file % 2, 100 + file, 48000);
            auto const index = static_cast<std::size_t>(file);
            _id_arr.push_back(_store.add(session.sample_arr[index].path, fact_arr[index]));
        }
    }
    ulk::ace::baplug::SampleInfo ask(SampleStore::Id id, int result = 0) {
        ulk::ace::baplug::SampleInfo info = {};
        info.sample_id = id;
        EXPECT_EQ(result, _store.execute(ulk::ace::baplug::CMD_VENDOR_GET_SAMPLE_INFO, &info));
        return info;
    }

    CacheService _cache{{64 * 1024, 0, 1024}};
    SampleStore _store{_cache, 2};
    std::vector<SampleStore::Id> _id_arr;
};

} // namespace

TEST_F(SampleStoreTest, FewFilesStayOpenBehindTheirHolds) {
    add_files(5);
    for (auto const id : _id_arr) {
        EXPECT_TRUE(_store.hold(id));
    }
    EXPECT_TRUE(_store.hold(_id_arr[0])); // twice
    EXPECT_EQ(5, _store.get_nbr_open());
    for (auto const id : _id_arr) {
        _store.give_back(id);
    }
    EXPECT_EQ(2, _store.get_nbr_open());
    EXPECT_EQ(100, ask(_id_arr[0]).len); // still held once
    _store.give_back(_id_arr[0]);
    EXPECT_EQ(2, _store.get_nbr_open());
    EXPECT_TRUE(_store.hold(_id_arr[2])); // one that was closed comes back
    EXPECT_EQ(102, ask(_id_arr[2]).len);
    _store.give_back(_id_arr[2]);
}

TEST_F(SampleStoreTest, AFileThatIsHeldAgainIsNotClosed) {
    add_files(4);
    for (int round = 0; round < 2; ++round) { // stands among those given back, once
        EXPECT_TRUE(_store.hold(_id_arr[0]));
        _store.give_back(_id_arr[0]);
    }
    for (auto const id : _id_arr) {
        EXPECT_TRUE(_store.hold(id));
    }
    for (std::size_t file = 1; file < 4; ++file) {
        _store.give_back(_id_arr[file]);
    }
    EXPECT_EQ(2, _store.get_nbr_open());
    EXPECT_EQ(100, ask(_id_arr[0]).len);
    _store.give_back(_id_arr[0]);
}

TEST_F(SampleStoreTest, TheFileThatRestsForLongestIsClosed) {
    add_files(3);
    for (std::size_t const file : {0u, 0u, 1u, 2u, 0u}) {
        EXPECT_TRUE(_store.hold(_id_arr[file]));
        _store.give_back(_id_arr[file]);
    }
    EXPECT_EQ(2, _store.get_nbr_open());
    EXPECT_EQ(100, ask(_id_arr[0]).len); // opened last
    EXPECT_EQ(102, ask(_id_arr[2]).len);
}

TEST_F(SampleStoreTest, TooManyOpenFilesMakeRoomForOneMore) {
    add_files(3);
    for (int file : {0, 1}) {
        EXPECT_TRUE(_store.hold(_id_arr[static_cast<std::size_t>(file)]));
        _store.give_back(_id_arr[static_cast<std::size_t>(file)]);
    }
    EXPECT_EQ(2, _store.get_nbr_open());
    OpenLimit const limit(_store, 2);
    EXPECT_TRUE(_store.hold(_id_arr[2]));
    EXPECT_EQ(102, ask(_id_arr[2]).len);
    EXPECT_EQ(2, _store.get_nbr_open());
    ask(_id_arr[0], ulk::ace::Err_INVALID_IDENTIFIER); // the one that rested for longest
    EXPECT_EQ(101, ask(_id_arr[1]).len);
    _store.give_back(_id_arr[2]);
}

TEST_F(SampleStoreTest, TooManyOpenFilesThatAreAllHeldDropTheSample) {
    add_files(2);
    EXPECT_TRUE(_store.hold(_id_arr[0]));
    {
        OpenLimit const limit(_store, 1);
        EXPECT_FALSE(_store.hold(_id_arr[1]));
    }
    EXPECT_FALSE(_store.is_usable(_id_arr[1]));
    EXPECT_FALSE(_store.hold(_id_arr[1])); // for ever
    EXPECT_EQ(1, _store.get_nbr_open());
    EXPECT_TRUE(_store.is_usable(_id_arr[0]));
}

TEST_F(SampleStoreTest, AnswersPlugins) {
    add_files(2);
    ulk::ace::baplug::UseCache use = {nullptr};
    EXPECT_EQ(0, _store.execute(ulk::ace::baplug::CMD_VENDOR_USE_CACHE, &use));
    EXPECT_EQ(&_cache.use_cache(), use.cache_ptr);
    EXPECT_EQ(ulk::ace::Err_NOT_IMPLEMENTED, _store.execute(12345, nullptr));
    for (SampleStore::Id const id : {0LL, -1LL, 3LL, 1LL << 40, _id_arr[0]}) { // not held
        ask(id, ulk::ace::Err_INVALID_IDENTIFIER);
    }
    EXPECT_TRUE(_store.hold(_id_arr[1]));
    auto const info = ask(_id_arr[1]);
    EXPECT_EQ(101, info.len);
    EXPECT_EQ(48000, info.sample_freq);
    EXPECT_EQ(2, info.nbr_chn);
    ulk::archi::Int64 len = 0;
    EXPECT_EQ(0, _cache.use_cache().get_length(info.cache_id, len));
    EXPECT_EQ(101, len);
}
