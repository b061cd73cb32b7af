#include "support/AllocFault.h"
#include "support/BundleInstance.h"
#include "support/Crc32.h"
#include "ulk/ace/Err.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace ulk::ace;
using ulk::prout::DescMain;
using Cmd = kryn::Component::Cmd;
using Bytes = std::vector<unsigned char>;

namespace {

// The document of a component, and what it must be.
struct Golden {
    char const* id; // null for the factory
    int size;
    unsigned int crc;
};

class DescribeTest : public ::testing::TestWithParam<Golden> {
protected:
    void SetUp() override {
        if (GetParam().id != nullptr) {
            ASSERT_EQ(0, _bundle.instantiate(GetParam().id, _plug));
        }
    }
    int describe(Bytes& data, int& len) {
        Cmd::Describe rec = {data.data(), len};
        int const ret =
            (GetParam().id != nullptr ? _plug : _bundle.factory).send(Cmd::DESCRIBE, &rec);
        len = rec.len;
        return ret;
    }

    test::BundleInstance _bundle;
    test::Point _plug;
};

} // namespace

TEST_P(DescribeTest, DocumentIsTheGoldenOne) {
    Bytes data(4096);
    int len = static_cast<int>(data.size());
    ASSERT_EQ(0, describe(data, len));
    ASSERT_EQ(GetParam().size, len);
    EXPECT_TRUE(std::all_of(data.begin() + len, data.end(), [](int byte) { return byte == 0; }));
    data.resize(static_cast<std::size_t>(len));
    EXPECT_EQ(GetParam().crc, test::compute_crc32(data));
}

TEST_P(DescribeTest, ShortBuffersStayUntouched) {
    Bytes const before(static_cast<std::size_t>(GetParam().size), 0xAA);
    Bytes data = before;
    for (int const room : {GetParam().size - 1, 1, 0, -1, -GetParam().size}) {
        int len = room;
        EXPECT_EQ(Err_NO_ROOM, describe(data, len));
        EXPECT_EQ(room, len);
        EXPECT_EQ(before, data);
    }
    int len = GetParam().size;
    EXPECT_EQ(0, describe(data, len));
    EXPECT_EQ(GetParam().size, len);
    EXPECT_NE(before, data);
}

TEST_P(DescribeTest, FailedAllocationsChangeNothing) {
    Bytes const before(static_cast<std::size_t>(GetParam().size), 0xAA);
    bool fail_flag = true;
    for (long n = 0; fail_flag; ++n) {
        Bytes data = before;
        int len = GetParam().size;
        int ret = 0;
        {
            test::AllocFault fault(n);
            ret = describe(data, len);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? Err_EXCEPTION : 0, ret) << n;
        EXPECT_EQ(GetParam().size, len);
        EXPECT_EQ(fail_flag, data == before) << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Components, DescribeTest,
                         ::testing::Values(Golden{nullptr, 228, 0x00EC0681},
                                           Golden{"Brevanto#TessitoneAudioTape", 2156, 0x507824F3},
                                           Golden{"Brevanto#TessitoneBypass", 196, 0x641F84D9},
                                           Golden{"Brevanto#TessitoneDryWet", 400, 0x76D1ED7A},
                                           Golden{"Brevanto#TessitoneAudioInput", 568, 0x9C284827},
                                           Golden{"Brevanto#TessitoneAudioOutput", 569,
                                                  0x0C6E733A}));

TEST(FactoryDocumentTest, ListsThePlugins) {
    test::BundleInstance bundle;
    Bytes data(228);
    Cmd::Describe rec = {data.data(), 228};
    ASSERT_EQ(0, bundle.factory.send(Cmd::DESCRIBE, &rec));
    ulk::prout::DescPluginList list;
    ulk::prout::DescProperties properties;
    DescMain desc;
    desc.add_desc_part(list);
    desc.add_desc_part(properties);
    std::vector<unsigned int> atom_list;
    ASSERT_EQ(0, desc.conv_from_bin(data, &atom_list));
    EXPECT_EQ((std::vector<unsigned int>{properties.atom(), list.atom()}), atom_list);
    EXPECT_TRUE(properties.use_prop_map().empty());
    ASSERT_EQ(5, list.get_nbr_plugins());
    EXPECT_EQ("Brevanto#TessitoneAudioInput", list.get_plug_id(0));
    EXPECT_EQ("Brevanto#TessitoneAudioOutput", list.get_plug_id(1));
    EXPECT_EQ("Brevanto#TessitoneAudioTape", list.get_plug_id(2));
    EXPECT_EQ("Brevanto#TessitoneBypass", list.get_plug_id(3));
    EXPECT_EQ("Brevanto#TessitoneDryWet", list.get_plug_id(4));
    for (int index = 0; index < 5; ++index) {
        EXPECT_EQ(kryn::PluginFactory::PluginType_DSP, list.get_plug_type(index));
        EXPECT_EQ(0, list.get_nbr_links(index));
    }
}
