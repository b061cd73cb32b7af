#include "DescDoc.h"

#include "ulk/ace/Err.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

using namespace ulk;
using kryn::PinDir_IN;
using kryn::PinDir_OUT;
using kryn::PluginFactory;
using prout::DescPinConf;
using test::Bytes;
using test::ByteWriter;

namespace {

template <class Part>
Bytes write(Part const& part) {
    Bytes data;
    util::BinaryStreamOutput out(data);
    EXPECT_EQ(0, part.write(out));
    return data;
}

template <class Part>
int read(Part& part, ByteWriter const& payload) {
    util::BinaryStreamInput in(payload.bytes);
    return part.read(in);
}

std::vector<int> to_list(unsigned long long mask) {
    std::vector<int> list = {9, 9};
    DescPinConf::conv_int_to_chn_list(list, mask);
    return list;
}

} // namespace

TEST(DescPropertiesTest, Values) {
    prout::DescProperties prop;
    EXPECT_FALSE(prop.has_prop("a"));
    EXPECT_FALSE(prop.test_flag("a"));
    EXPECT_THROW(prop.get_prop("a"), std::out_of_range);
    prop.set_property("a", "1");
    EXPECT_TRUE(prop.has_prop("a"));
    EXPECT_TRUE(prop.test_flag("a"));
    for (char const* val : {"true", "0", "", "1 ", "01"}) {
        prop.set_property("a", val);
        EXPECT_FALSE(prop.test_flag("a")) << val;
        EXPECT_EQ(val, prop.get_prop("a"));
    }
    EXPECT_EQ(1u, prop.use_prop_map().size());
    prop.clear();
    EXPECT_TRUE(prop.use_prop_map().empty());
}

TEST(DescPropertiesTest, CopyIntoABuffer) {
    prout::DescProperties prop;
    prop.set_property("a", "value");
    char txt[8] = "xxxxxxx";
    EXPECT_FALSE(prop.get_prop("b", txt, 7));
    EXPECT_STREQ("xxxxxxx", txt);
    EXPECT_TRUE(prop.get_prop("a", txt, 5));
    EXPECT_STREQ("value", txt);
    EXPECT_EQ('x', txt[6]); // 5 bytes and the terminator
    EXPECT_TRUE(prop.get_prop("a", txt, 4));
    EXPECT_STREQ("valu", txt);
    EXPECT_TRUE(prop.get_prop("a", txt, 0));
    EXPECT_STREQ("", txt);
}

TEST(DescPropertiesTest, BinaryForm) {
    prout::DescProperties prop;
    prop.set_property("b", "2");
    prop.set_property("\xC3\xA9", "4");
    prop.set_property("a", "1");
    prop.set_property("B", "3");
    ByteWriter model; // by bytes, not by letters
    model.raw("prop").u32(4).str("B").str("3").str("a").str("1").str("b").str("2");
    model.str("\xC3\xA9").str("4");
    EXPECT_EQ(model.bytes, write(prop));

    ByteWriter twice;
    twice.u32(3).str("k").str("first").str("j").str("").str("k").str("second");
    EXPECT_EQ(0, read(prop, twice));
    EXPECT_EQ(2u, prop.use_prop_map().size()); // what was there is gone
    EXPECT_EQ("first", prop.get_prop("k"));

    EXPECT_EQ(ace::Err_DATA_CORRUPTED, read(prop, ByteWriter().u32(2).str("x").str("y").str("z")));
    EXPECT_EQ("y", prop.get_prop("x"));
    EXPECT_EQ(1u, prop.use_prop_map().size());
}

TEST(DescUniqueIdTest, BinaryForm) {
    prout::DescUniqueId unique_id;
    unique_id.set_id("abc");
    EXPECT_EQ("abc", unique_id.get_id());
    EXPECT_EQ(ByteWriter().raw("unid").str("abc").bytes, write(unique_id));
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, read(unique_id, ByteWriter().u32(4).raw("abc")));
    EXPECT_EQ("", unique_id.get_id());
    EXPECT_EQ(0, read(unique_id, ByteWriter().str("d")));
    EXPECT_EQ("d", unique_id.get_id());
}

TEST(DescParamListTest, GrowsAndShrinksByScope) {
    prout::DescParamList list;
    list.set_nbr_param(kryn::ParamScope_NOTE, 2);
    list.use_param(kryn::ParamScope_NOTE, 1).set_name("kept");
    list.set_nbr_param(kryn::ParamScope_NOTE, 4);
    EXPECT_EQ(4, list.get_nbr_param(kryn::ParamScope_NOTE));
    EXPECT_EQ("kept", list.use_param(kryn::ParamScope_NOTE, 1).get_name());
    EXPECT_EQ(1.0, list.use_param(kryn::ParamScope_NOTE, 3).get_range_max());
    EXPECT_EQ(1, list.use_param(kryn::ParamScope_NOTE, 3).get_public_range());
    list.set_nbr_param(kryn::ParamScope_NOTE, 1);
    EXPECT_EQ(1, list.get_nbr_param(kryn::ParamScope_NOTE));
    EXPECT_EQ(0, list.get_nbr_param(kryn::ParamScope_6));
    list.clear();
    EXPECT_EQ(0, list.get_nbr_param(kryn::ParamScope_NOTE));
}

TEST(DescPinConfTest, MasksTellChannelCounts) {
    EXPECT_EQ(std::vector<int>{}, to_list(0));
    EXPECT_EQ((std::vector<int>{2, 1, 1}), to_list(0x112));
    EXPECT_EQ((std::vector<int>{0, 0, 6}), to_list(0x600));
    EXPECT_EQ(std::vector<int>(16, 15), to_list(~0ull));
}

TEST(DescPinConfTest, Content) {
    DescPinConf conf;
    EXPECT_FALSE(conf.has_name());
    EXPECT_TRUE(conf.is_valid());
    conf.set_name("");
    EXPECT_TRUE(conf.has_name());
    conf.set_pins(0x21, 0x3, 4, 5);
    EXPECT_EQ((std::vector<int>{1, 2}), conf.use_audio_pin_list(PinDir_IN));
    EXPECT_EQ(std::vector<int>{3}, conf.use_audio_pin_list(PinDir_OUT));
    EXPECT_EQ(4, conf.get_nbr_pins_data(PinDir_IN));
    EXPECT_EQ(5, conf.get_nbr_pins_data(PinDir_OUT));
    EXPECT_TRUE(conf.is_valid());
    conf.use_audio_pin_list(PinDir_OUT).push_back(0);
    EXPECT_FALSE(conf.is_valid());
    conf.use_audio_pin_list(PinDir_OUT).back() = 1;
    conf.use_audio_pin_list(PinDir_IN)[0] = -1;
    EXPECT_FALSE(conf.is_valid());
    conf.clear();
    EXPECT_FALSE(conf.has_name());
    EXPECT_TRUE(conf.use_audio_pin_list(PinDir_IN).empty());
    EXPECT_TRUE(conf.use_audio_pin_list(PinDir_OUT).empty());
    EXPECT_EQ(0, conf.get_nbr_pins_data(PinDir_IN));
    EXPECT_EQ(0, conf.get_nbr_pins_data(PinDir_OUT));
}

TEST(DescPinConfTest, BinaryForm) {
    DescPinConf conf;
    conf.set_name("lost");
    conf.set_pins(0x21, 0x3, 4, -5);
    ByteWriter model;
    model.u32(2).u32(1).u32(2).u32(1).u32(3).u32(4).u32(0xFFFFFFFB);
    EXPECT_EQ(model.bytes, write(conf));
    EXPECT_EQ(0, read(conf, ByteWriter().u32(0).u32(1).u32(7).u32(1).u32(2)));
    EXPECT_FALSE(conf.has_name());
    EXPECT_EQ(std::vector<int>{}, conf.use_audio_pin_list(PinDir_IN));
    EXPECT_EQ(std::vector<int>{7}, conf.use_audio_pin_list(PinDir_OUT));
    // Each field is assigned as soon as it is read.
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, read(conf, ByteWriter().u32(1).u32(8).u32(0).u32(3)));
    EXPECT_EQ(std::vector<int>{8}, conf.use_audio_pin_list(PinDir_IN));
    EXPECT_EQ(3, conf.get_nbr_pins_data(PinDir_IN));
    EXPECT_EQ(0, conf.get_nbr_pins_data(PinDir_OUT));
}

TEST(DescPinConfListTest, AddsAndCreates) {
    prout::DescPinConfList list;
    EXPECT_EQ(-1, list.get_default_conf());
    EXPECT_FALSE(list.has_default_conf());
    EXPECT_EQ(0, list.add_conf(0x1, 0x2, 3, 4, nullptr));
    EXPECT_FALSE(list.use_conf(0).has_name());
    EXPECT_EQ(1, list.add_conf(0x1, 0x2, 3, 4, "Name"));
    EXPECT_EQ("Name", list.use_conf(1).get_name());
    EXPECT_EQ(4, list.use_conf(1).get_nbr_pins_data(PinDir_OUT));
    auto const conf = mem::SharedPtr<DescPinConf>::make();
    list.add_conf(conf);
    EXPECT_EQ(conf.get(), &list.use_conf(2));

    EXPECT_EQ(ace::Err_DATA_CORRUPTED, list.create_conf(2));
    EXPECT_EQ(conf.get(), &list.use_conf(2));
    EXPECT_EQ(0, list.create_conf(5));
    EXPECT_EQ(6, list.get_nbr_conf());
    EXPECT_EQ(0, list.create_conf(3)); // a null slot
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, list.create_conf(3));
    list.set_default_conf(0);
    EXPECT_TRUE(list.has_default_conf());
    list.clear();
    EXPECT_EQ(0, list.get_nbr_conf());
    EXPECT_EQ(-1, list.get_default_conf());
}

TEST(DescPinConfListTest, NullSlotsAreEmptyConfigurations) {
    prout::DescPinConfList list;
    EXPECT_EQ(0, list.create_conf(1));
    list.use_conf(1).set_pins(0x1, 0x1, 0, 0);
    ByteWriter model;
    model.raw("pcls").u32(0xFFFFFFFF).u32(2);
    model.u32(0).u32(0).u32(0).u32(0);
    model.u32(1).u32(1).u32(1).u32(1).u32(0).u32(0);
    EXPECT_EQ(model.bytes, write(list));
    auto const& view = list;
    EXPECT_TRUE(view.use_conf(0).use_audio_pin_list(PinDir_IN).empty());
    EXPECT_EQ(0, list.create_conf(0)); // still null
}

TEST(DescPinConfListTest, AnyNegativeDefaultIsWrittenAsNone) {
    prout::DescPinConfList list;
    list.set_default_conf(-7);
    EXPECT_EQ(-7, list.get_default_conf());
    EXPECT_FALSE(list.has_default_conf());
    EXPECT_EQ(ByteWriter().raw("pcls").u32(0xFFFFFFFF).u32(0).bytes, write(list));
    list.set_default_conf(7);
    EXPECT_EQ(ByteWriter().raw("pcls").u32(7).u32(0).bytes, write(list));
    EXPECT_EQ(0, read(list, ByteWriter().u32(0xFFFFFFF9).u32(0)));
    EXPECT_EQ(-7, list.get_default_conf());
}

TEST(DescPinConfListTest, FailuresOfReadingAreSwallowed) {
    prout::DescPinConfList list;
    list.add_conf(1, 1, 0, 0, "x");
    list.set_default_conf(0);
    EXPECT_EQ(0, read(list, ByteWriter()));
    EXPECT_EQ(0, list.get_nbr_conf());
    EXPECT_EQ(-1, list.get_default_conf());
    EXPECT_EQ(0, read(list, ByteWriter().u32(3)));
    EXPECT_EQ(3, list.get_default_conf());
    EXPECT_EQ(0, read(list, ByteWriter().u32(3).u32(0xFFFFFFFF)));
    EXPECT_EQ(1, list.get_nbr_conf()); // the one whose read failed
}

TEST(DescPluginListTest, AddsOnce) {
    prout::DescPluginList list;
    EXPECT_EQ(0, list.add_plugin(PluginFactory::PluginType_DSP, "a"));
    EXPECT_EQ(0, list.add_plugin(PluginFactory::PluginType_VIEWCTRL, "b"));
    EXPECT_EQ(0, list.add_plugin(PluginFactory::PluginType_DSP, "a"));
    EXPECT_EQ(ace::Err_INVALID_ARGUMENT, list.add_plugin(PluginFactory::PluginType_VIEWCTRL, "a"));
    EXPECT_EQ(2, list.get_nbr_plugins());
    EXPECT_EQ("b", list.get_plug_id(1));
    EXPECT_EQ(PluginFactory::PluginType_VIEWCTRL, list.get_plug_type(1));
    EXPECT_EQ(PluginFactory::PluginType_DSP, list.get_plug_type(0));

    EXPECT_EQ(0, list.add_link("a", "b"));
    EXPECT_EQ(0, list.add_link("a", "elsewhere"));
    EXPECT_EQ(0, list.add_link("a", "b"));
    EXPECT_EQ(ace::Err_NOT_FOUND, list.add_link("A", "b"));
    ASSERT_EQ(2, list.get_nbr_links(0));
    EXPECT_EQ("elsewhere", list.get_linked_id(0, 1));
    EXPECT_EQ(0, list.get_nbr_links(1));
    list.clear();
    EXPECT_EQ(0, list.get_nbr_plugins());
}

TEST(DescPluginListTest, MergesUpToTheFirstFailure) {
    prout::DescPluginList list;
    list.add_plugin(PluginFactory::PluginType_DSP, "a");
    list.add_plugin(PluginFactory::PluginType_DSP, "c");
    prout::DescPluginList other;
    other.add_plugin(PluginFactory::PluginType_VIEWCTRL, "b");
    other.add_link("b", "a");
    other.add_plugin(PluginFactory::PluginType_DSP, "a");
    other.add_link("a", "b");
    EXPECT_EQ(0, list.merge_list(other));
    EXPECT_EQ(0, list.merge_list(list));
    ASSERT_EQ(3, list.get_nbr_plugins());
    EXPECT_EQ("b", list.get_plug_id(2));
    EXPECT_EQ("a", list.get_linked_id(2, 0));
    EXPECT_EQ("b", list.get_linked_id(0, 0));

    prout::DescPluginList bad;
    bad.add_plugin(PluginFactory::PluginType_DSP, "d");
    bad.add_plugin(PluginFactory::PluginType_VIEWCTRL, "c");
    bad.add_plugin(PluginFactory::PluginType_DSP, "e");
    EXPECT_EQ(ace::Err_INVALID_ARGUMENT, list.merge_list(bad));
    ASSERT_EQ(4, list.get_nbr_plugins());
    EXPECT_EQ("d", list.get_plug_id(3));
}

TEST(DescPluginListTest, TypesHaveTexts) {
    using prout::DescPluginList;
    EXPECT_EQ(0, DescPluginList::find_plug_type("dsp"));
    EXPECT_EQ(1, DescPluginList::find_plug_type("viewctrl"));
    EXPECT_EQ(-1, DescPluginList::find_plug_type("DSP"));
    EXPECT_EQ(-1, DescPluginList::find_plug_type("ds"));
    EXPECT_EQ(-1, DescPluginList::find_plug_type(""));
}

TEST(DescPluginListTest, BinaryForm) {
    prout::DescPluginList list;
    list.add_plugin(PluginFactory::PluginType_VIEWCTRL, "view");
    list.add_plugin(PluginFactory::PluginType_DSP, "d");
    list.add_link("view", "d");
    ByteWriter payload;
    payload.u32(2).str("view").u32(1).u32(1).str("d").str("d").u32(0).u32(0);
    ByteWriter model = ByteWriter().raw("pils");
    model.bytes.insert(model.bytes.end(), payload.bytes.begin(), payload.bytes.end());
    EXPECT_EQ(model.bytes, write(list));

    prout::DescPluginList back;
    back.add_plugin(PluginFactory::PluginType_DSP, "gone");
    EXPECT_EQ(0, read(back, payload));
    EXPECT_EQ(model.bytes, write(back));
    payload.bytes.pop_back();
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, read(back, payload));
}
