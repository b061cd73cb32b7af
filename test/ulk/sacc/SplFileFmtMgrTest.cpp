#include "ulk/sacc/SplFileFmtMgr.h"

#include "support/AllocFault.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileFmtFactoryInterface.h"
#include "ulk/sacc/SplFileFmtInterface.h"
#include "ulk/sys/File.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ulk;
using namespace ulk::sacc;

namespace {

// Answers as told, and notes that it was asked.
class FakeFactory : public SplFileFmtFactoryInterface {
public:
    FakeFactory(std::vector<int>& asked, int id, int ret_val, int fmt)
        : _asked(asked)
        , _id(id)
        , _ret_val(ret_val)
        , _fmt(fmt) {}

protected:
    int do_detect_format(sys::File&, int& fmt, archi::UByte const*) override {
        EXPECT_EQ(-1, fmt);
        _asked.push_back(_id);
        if (_fmt >= 0) {
            fmt = _fmt;
        }
        return _ret_val;
    }
    int do_create_format(mem::SharedPtr<SplFileFmtInterface>&) override { return 1000 + _id; }

private:
    std::vector<int>& _asked;
    int _id;
    int _ret_val;
    int _fmt;
};

class SplFileFmtMgrTest : public ::testing::Test {
protected:
    std::vector<int> _asked;
    sys::File _file;
    archi::UByte _header[512] = {};
    SplFileFmtMgr _mgr;
    mem::SharedPtr<SplFileFmtInterface> _ptr;
    int _fmt = 77;
};

} // namespace

TEST_F(SplFileFmtMgrTest, KnowsNothingWithoutFactories) {
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _mgr.detect_format(_file, _fmt, _header));
    EXPECT_EQ(-1, _fmt);
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _mgr.create_format(_ptr, 0));
    EXPECT_EQ(Err_FACTORY_NOT_REGISTERED, _mgr.unregister_format_factory(0));
}

TEST_F(SplFileFmtMgrTest, AsksByAscendingNumberUntilOneKnows) {
    FakeFactory a(_asked, 1, 0, -1);
    FakeFactory b(_asked, 2, 0, 12);
    FakeFactory c(_asked, 3, 0, 13);
    EXPECT_EQ(0, _mgr.register_format_factory(30, c));
    EXPECT_EQ(0, _mgr.register_format_factory(-5, a));
    EXPECT_EQ(0, _mgr.register_format_factory(12, b));
    EXPECT_EQ(0, _mgr.detect_format(_file, _fmt, _header));
    EXPECT_EQ(12, _fmt);
    EXPECT_EQ((std::vector<int>{1, 2}), _asked);
    EXPECT_EQ(1002, _mgr.create_format(_ptr, 12));
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _mgr.create_format(_ptr, 13));
}

TEST_F(SplFileFmtMgrTest, StopsAtTheFirstError) {
    FakeFactory a(_asked, 1, 0, -1);
    FakeFactory b(_asked, 2, -4711, -1);
    FakeFactory c(_asked, 3, 0, 3);
    _mgr.register_format_factory(1, a);
    _mgr.register_format_factory(2, b);
    _mgr.register_format_factory(3, c);
    EXPECT_EQ(-4711, _mgr.detect_format(_file, _fmt, _header));
    EXPECT_EQ(-1, _fmt);
    EXPECT_EQ((std::vector<int>{1, 2}), _asked);
    EXPECT_EQ(0, _mgr.unregister_format_factory(2));
    EXPECT_EQ(0, _mgr.detect_format(_file, _fmt, _header));
    EXPECT_EQ(3, _fmt);
}

TEST_F(SplFileFmtMgrTest, ASecondFactoryReplacesTheFirst) {
    FakeFactory a(_asked, 1, 0, -1);
    FakeFactory b(_asked, 2, 0, -1);
    EXPECT_EQ(0, _mgr.register_format_factory(0, a));
    EXPECT_EQ(1001, _mgr.create_format(_ptr, 0));
    EXPECT_EQ(Err_FACTORY_REGISTERED, _mgr.register_format_factory(0, b));
    EXPECT_EQ(1002, _mgr.create_format(_ptr, 0));
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _mgr.detect_format(_file, _fmt, _header));
    EXPECT_EQ(0, _mgr.unregister_format_factory(0));
    EXPECT_EQ(Err_FACTORY_NOT_REGISTERED, _mgr.unregister_format_factory(0));
}

TEST_F(SplFileFmtMgrTest, RunsOutOfMemory) {
    FakeFactory a(_asked, 1, 0, 0);
    {
        test::AllocFault fault(0);
        EXPECT_EQ(Err_EXCEPTION, _mgr.register_format_factory(0, a));
    }
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _mgr.create_format(_ptr, 0));
}

TEST(SplFileFmtDescTest, HasNothingSetAtFirst) {
    SplFileFmtDesc desc;
    auto const expect_empty = [&] {
        EXPECT_EQ(-1, int{desc.get_file_fmt()});
        EXPECT_EQ(-1, int{desc.get_bit_fmt()});
        EXPECT_EQ(-1.0, desc.get_sample_freq());
        EXPECT_EQ(-1, desc.get_nbr_chn());
        EXPECT_FALSE(desc.is_valid());
    };
    expect_empty();
    desc.set_data(SplFileFmt_WAV, SplFileBitFmt_F32, 48000.5, 3);
    EXPECT_EQ(SplFileFmt_WAV, desc.get_file_fmt());
    EXPECT_EQ(SplFileBitFmt_F32, desc.get_bit_fmt());
    EXPECT_EQ(48000.5, desc.get_sample_freq());
    EXPECT_EQ(3, desc.get_nbr_chn());
    EXPECT_TRUE(desc.is_valid());
    desc.clear();
    expect_empty();
}

TEST(SplFileFmtDescTest, OnlyTheBitFormatMakesItValid) {
    SplFileFmtDesc desc;
    for (int bit_fmt = -2; bit_fmt < 8; ++bit_fmt) {
        desc.set_data(SplFileFmt(-1), SplFileBitFmt(bit_fmt), -1.0, -1);
        EXPECT_EQ(bit_fmt >= 0 && bit_fmt < 5, desc.is_valid()) << bit_fmt;
    }
}
