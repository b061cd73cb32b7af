#include "ulk/prout/DescXml.h"

#include "DescDoc.h"

#include "support/AllocFault.h"
#include "ulk/ace/Err.h"
#include "ulk/prout/DescXmlTxt.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using namespace ulk;
using prout::DescXml;
using prout::DescXmlTxt;
using test::Bytes;
using test::DescDoc;

namespace {

std::string to_xml(DescDoc const& doc) {
    std::string xml;
    EXPECT_EQ(0, DescXml::write(xml, doc.main));
    return xml;
}

std::string wrap(std::string const& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<component>" + body + "</component>\n";
}

int read_xml(DescDoc& doc, std::string const& xml) {
    return DescXml::read(doc.main, xml);
}

int read_xml(std::string const& xml) {
    DescDoc doc;
    return read_xml(doc, xml);
}

} // namespace

TEST(DescXmlTest, ArrangementOfADocument) {
    prout::DescProperties prop;
    prout::DescParamList param_list;
    prout::DescPinConfList conf_list;
    prout::DescMain main;
    main.add_desc_part(prop);
    main.add_desc_part(param_list);
    main.add_desc_part(conf_list);
    prop.set_property("key", "a < b");
    param_list.set_nbr_param(kryn::ParamScope_NOTE, 1);
    auto& param = param_list.use_param(kryn::ParamScope_NOTE, 0);
    param.set_name("Vol\nVolume");
    param.set_unit("dB");
    param.set_flags(3);
    param.set_dir(1);
    param.set_validity(1);
    param.set_public_range(0);
    param.set_type_data(6);
    param.set_type_use(5);
    param.set_range(0, 1.0 / 3);
    conf_list.add_conf(0x112, 0x2, 0, 0, "One");
    conf_list.add_conf(0, 0x1, 3, 0, nullptr);
    conf_list.set_default_conf(1);
    std::string xml;
    EXPECT_EQ(0, DescXml::write(xml, main));
    EXPECT_EQ(R"(<?xml version="1.0" encoding="UTF-8" ?>
<component>
    <properties>
        <property name="key" val="a &lt; b" />
    </properties>
    <parameters>
        <scope name="global" count="0" />
        <scope name="1" count="0" />
        <scope name="2" count="0" />
        <scope name="3" count="0" />
        <scope name="4" count="0" />
        <scope name="note" count="1">
            <parameter id="0">
                <property name="name" val="Vol&#x0A;Volume" />
                <property name="unit" val="dB" />
                <property name="flags" val="hidden unused" />
                <property name="dir" val="in" />
                <property name="validity" val="note_on" />
                <property name="domain_val" val="continuous" />
                <property name="domain_time" val="continuous" />
                <property name="public_range" val="normalised" />
                <property name="type_data" val="lin_volume" />
                <property name="type_use" val="volume" />
                <range min="0" max="3.333333333333333e-1" />
            </parameter>
        </scope>
        <scope name="6" count="0" />
    </parameters>
    <pin_confs default_id="1">
        <pin_conf id="0">
            <property name="name" val="One" />
            <pins_audio in="2 1 1" out="2" />
            <pins_data in="0" out="0" />
        </pin_conf>
        <pin_conf id="1">
            <pins_audio in="" out="1" />
            <pins_data in="3" out="0" />
        </pin_conf>
    </pin_confs>
</component>
)",
              xml);
}

TEST(DescXmlTest, ArrangementOfAFactory) {
    prout::DescPluginList list;
    prout::DescUniqueId unique_id;
    prout::DescMain main;
    main.add_desc_part(list);
    main.add_desc_part(unique_id);
    list.add_plugin(kryn::PluginFactory::PluginType_DSP, "one");
    list.add_plugin(kryn::PluginFactory::PluginType_VIEWCTRL, "view");
    list.add_link("view", "one");
    unique_id.set_id("me");
    std::string xml;
    EXPECT_EQ(0, DescXml::write(xml, main));
    EXPECT_EQ(R"(<?xml version="1.0" encoding="UTF-8" ?>
<component>
    <plugins>
        <plugin id="one" type="dsp" />
        <plugin id="view" type="viewctrl">
            <link id="one" />
        </plugin>
    </plugins>
    <unique_id val="me" />
</component>
)",
              xml);
    std::vector<unsigned int> atom_list;
    EXPECT_EQ(0, DescXml::read(main, xml, &atom_list));
    EXPECT_EQ((std::vector<unsigned int>{0x70696C73, 0x756E6964}), atom_list);
}

TEST(DescXmlTest, RandomDocumentsRoundTrip) {
    std::mt19937 rng(2);
    for (int round = 0; round < 1000; ++round) {
        DescDoc doc;
        test::fill_random(doc, rng);
        Bytes const data = doc.to_bin();
        std::string const xml = to_xml(doc);
        DescDoc from_xml;
        ASSERT_EQ(0, read_xml(from_xml, xml));
        ASSERT_EQ(data, from_xml.to_bin()) << xml;
        ASSERT_EQ(xml, to_xml(from_xml)); // names of configurations too

        DescDoc from_bin;
        ASSERT_EQ(0, from_bin.from_bin(data));
        DescDoc again;
        ASSERT_EQ(0, read_xml(again, to_xml(from_bin)));
        ASSERT_EQ(data, again.to_bin());
    }
}

TEST(DescXmlTest, ReadingReplacesThePartsThatAreThere) {
    DescDoc doc;
    doc.prop.set_property("old", "1");
    doc.unique_id.set_id("kept");
    doc.conf_list.add_conf(1, 1, 0, 0, "old");
    EXPECT_EQ(0, read_xml(doc, wrap("<unknown><x/></unknown><pin_confs/>text<!-- c -->"
                                    "<properties><property name='new' val='2'/></properties>")));
    EXPECT_EQ(1u, doc.prop.use_prop_map().size());
    EXPECT_EQ("2", doc.prop.get_prop("new"));
    EXPECT_EQ("kept", doc.unique_id.get_id());
    EXPECT_EQ(0, doc.conf_list.get_nbr_conf());
    EXPECT_EQ(-1, doc.conf_list.get_default_conf());

    prout::DescMain nothing; // no part registered: all is skipped
    EXPECT_EQ(0, DescXml::read(nothing, wrap("<unique_id val='x'/>")));
}

TEST(DescXmlTest, WhatIsNotToldHasItsDefault) {
    DescDoc doc;
    EXPECT_EQ(0, read_xml(doc, wrap("<parameters><scope name='note'><parameter/><parameter>"
                                    "<range max='5'/></parameter></scope></parameters>"
                                    "<plugins><plugin id='a' type='1'/></plugins>")));
    ASSERT_EQ(2, doc.param_list.get_nbr_param(kryn::ParamScope_NOTE));
    auto const& param = doc.param_list.use_param(kryn::ParamScope_NOTE, 1);
    EXPECT_EQ(0.0, param.get_range_min());
    EXPECT_EQ(5.0, param.get_range_max());
    EXPECT_EQ(1, param.get_public_range());
    EXPECT_EQ("", param.get_name());
    EXPECT_EQ(kryn::PluginFactory::PluginType_VIEWCTRL, doc.plugin_list.get_plug_type(0));
}

TEST(DescXmlTest, RefusesWhatIsNoDescription) {
    auto const bad = ace::Err_INVALID_FORMAT;
    for (char const* xml :
         {"", "text", "<component>", "<component", "<plugin/>", "<!-- only -->", "<component/><<",
          "<component></x>", "<component a='1' a='2'/>", "<?xml", "<!DOCTYPE x><component/>",
          "</component>", "<component><?x?></component>", "<component a='<'/>"}) {
        EXPECT_EQ(bad, read_xml(xml)) << xml;
    }
    EXPECT_EQ(0, read_xml("<component/>"));
    EXPECT_EQ(
        0, read_xml("\xEF\xBB\xBF <?xml version='1.0'?>\r\n<!-- <a> --><component></component>"));
}

TEST(DescXmlTest, RefusesWrongFields) {
    auto const bad = ace::Err_INVALID_FORMAT;
    for (char const* body :
         {"<unique_id/>",
          "<unique_id value='x'/>",
          "<properties><property name='x'/></properties>",
          "<parameters><scope/></parameters>",
          "<parameters><scope name='5'/></parameters>",
          "<parameters><scope name='1' count='1'/></parameters>",
          "<parameters><scope name='1' count='4294967296'/></parameters>",
          "<parameters><scope name='1'><parameter id='1'/></scope></parameters>",
          "<parameters><scope name='1'><parameter id='x'/></scope></parameters>",
          "<parameters><scope name='1'><parameter><range "
          "min='x'/></parameter></scope></parameters>",
          "<parameters><scope name='1'><parameter><range min='1 2'/></parameter></scope>"
          "</parameters>",
          "<parameters><scope name='1'><parameter><range max='0xG'/></parameter></scope>"
          "</parameters>",
          "<parameters><scope name='1'><parameter><property name='dir' val='sideways'/>"
          "</parameter></scope></parameters>",
          "<parameters><scope name='1'><parameter><property name='dir' val='4294967296'/>"
          "</parameter></scope></parameters>",
          "<parameters><scope name='1'><parameter><property name='flags' val='hidden,unused'/>"
          "</parameter></scope></parameters>",
          "<pin_confs default_id='x'/>",
          "<pin_confs><pin_conf id='2'/></pin_confs>",
          "<pin_confs><pin_conf/></pin_confs>",
          "<pin_confs><pin_conf><pins_audio in='1' out='1'/></pin_conf></pin_confs>",
          "<pin_confs><pin_conf><pins_audio in='1'/><pins_data in='0' out='0'/></pin_conf>"
          "</pin_confs>",
          "<pin_confs><pin_conf><pins_audio in='1' out='1'/><pins_data in='0' out='z'/></pin_conf>"
          "</pin_confs>",
          "<plugins><plugin type='dsp'/></plugins>",
          "<plugins><plugin id='x'/></plugins>",
          "<plugins><plugin id='x' type='vst'/></plugins>",
          "<plugins><plugin id='x' type='dsp'><link/></plugin></plugins>"}) {
        EXPECT_EQ(bad, read_xml(wrap(body))) << body;
    }
    EXPECT_EQ(
        ace::Err_OUT_OF_RANGE,
        read_xml(wrap("<pin_confs><pin_conf><pins_audio in='0' out='1'/></pin_conf></pin_confs>")));
    EXPECT_EQ(-14470,
              read_xml(wrap(
                  "<pin_confs><pin_conf><pins_audio in='1;' out='1'/></pin_conf></pin_confs>")));
}

TEST(DescXmlTest, RefusesTextsThatXmlCantHold) {
    struct Case {
        char const* txt;
        int ret;
    };
    for (Case const& c : std::vector<Case>{{"\xC0", ace::Err_INVALID_UTF8},
                                           {"a\xE2\x82", ace::Err_INVALID_UTF8},
                                           {"\x01", ace::Err_FORBIDDEN_CHAR},
                                           {"\x1F", ace::Err_FORBIDDEN_CHAR},
                                           {"\xED\xA0\x80", ace::Err_FORBIDDEN_CHAR}, // a surrogate
                                           {"\xEF\xBF\xBF", ace::Err_FORBIDDEN_CHAR},
                                           {"\t\r\n\x7F\xEF\xBF\xBD", 0}}) {
        DescDoc doc;
        doc.unique_id.set_id(c.txt);
        std::string xml = "old";
        EXPECT_EQ(c.ret, DescXml::write(xml, doc.main));
        EXPECT_EQ(c.ret != 0, xml == "old");
    }
    DescDoc doc;
    doc.prop.set_property("", "x");
    std::string xml = "old";
    EXPECT_EQ(ace::Err_INVALID_FORMAT, DescXml::write(xml, doc.main));
    doc.prop.clear();
    doc.conf_list.add_conf(0x10, 0x1, 0, 0, nullptr);
    EXPECT_EQ(ace::Err_OUT_OF_RANGE, DescXml::write(xml, doc.main));
    EXPECT_EQ("old", xml);
    EXPECT_EQ(ace::Err_INVALID_UTF8, read_xml(wrap("<unique_id val='\xE2\x82'/>")));
    EXPECT_EQ(ace::Err_INVALID_UTF8, read_xml(std::string("<component/>\0", 13)));
    EXPECT_EQ(ace::Err_FORBIDDEN_CHAR, read_xml(wrap("<unique_id val='&#x01;'/>")));
    EXPECT_EQ(ace::Err_FORBIDDEN_CHAR, read_xml(wrap("<unique_id val='&#xD800;'/>")));
    EXPECT_NE(0, read_xml(wrap("<unique_id val='&#x110000;'/>")));
}

TEST(DescXmlTest, DepthAndAttributesAreBounded) {
    std::string deep;
    for (int k = 0; k < 200000; ++k) {
        deep += "<a>";
    }
    EXPECT_EQ(ace::Err_INVALID_FORMAT, read_xml(wrap(deep)));
    std::string wide = "<x";
    for (int k = 0; k < 100000; ++k) {
        wide += " a" + std::to_string(k) + "='1'";
    }
    EXPECT_EQ(ace::Err_INVALID_FORMAT, read_xml(wrap(wide + "/>")));
    std::string many;
    for (int k = 0; k < 20000; ++k) {
        many += "<a b='1'><c/></a>";
    }
    EXPECT_EQ(0, read_xml(wrap(many)));
}

TEST(DescXmlTest, TruncationsAndAlteredBytes) {
    std::mt19937 rng(9);
    for (unsigned int seed : {20u, 21u}) {
        DescDoc doc;
        std::mt19937 doc_rng(seed);
        test::fill_random(doc, doc_rng);
        std::string xml = to_xml(doc);
        for (std::size_t len = seed % 2; len + 1 < xml.size(); len += 3) { // the last may go
            DescDoc cut;
            ASSERT_NE(0, read_xml(cut, xml.substr(0, len)));
        }
        static char const alt_arr[] = {'\0', '<', '>', '"', '&', ' ', '\x80', '\xF4'};
        for (char& c : xml) {
            char const saved = c;
            for (char const alt : {alt_arr[rng() % std::size(alt_arr)], static_cast<char>(rng())}) {
                c = alt;
                DescDoc altered;
                long nbr_bytes = 0;
                {
                    test::AllocFault count;
                    read_xml(altered, xml);
                    nbr_bytes = count.get_nbr_bytes();
                }
                ASSERT_LE(nbr_bytes, 100 * static_cast<long>(xml.size()) + 16384);
            }
            c = saved;
        }
    }
}

TEST(DescXmlTxtTest, Scopes) {
    std::string all;
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        auto const scope = static_cast<kryn::ParamScope>(pos);
        std::string const name = DescXmlTxt::get_scope_name(scope);
        all += name + " ";
        auto back = kryn::ParamScope_GLOBAL;
        EXPECT_TRUE(DescXmlTxt::conv_txt_to_scope(back, name));
        EXPECT_EQ(scope, back);
    }
    EXPECT_EQ("global 1 2 3 4 note 6 ", all);
    auto scope = kryn::ParamScope_2;
    EXPECT_FALSE(DescXmlTxt::conv_txt_to_scope(scope, "5"));
    EXPECT_EQ(kryn::ParamScope_2, scope);
}

TEST(DescXmlTxtTest, EnumerationsAndBits) {
    static kryn::CodeTxt const table[] = {{0, "zero"}, {1, "one"}, {4, "four"}, {0, nullptr}};
    EXPECT_EQ("zero", DescXmlTxt::conv_enum_to_txt(0, table));
    EXPECT_EQ("four", DescXmlTxt::conv_enum_to_txt(4, table));
    EXPECT_EQ("2", DescXmlTxt::conv_enum_to_txt(2, table));
    EXPECT_EQ("-2147483648", DescXmlTxt::conv_enum_to_txt(-2147483647 - 1, table));
    static kryn::CodeTxt const bits[] = {{1, "one"}, {4, "four"}, {0, nullptr}};
    EXPECT_EQ("", DescXmlTxt::conv_flags_to_txt(0, bits));
    EXPECT_EQ("one four", DescXmlTxt::conv_flags_to_txt(5, bits));
    EXPECT_EQ("four 10", DescXmlTxt::conv_flags_to_txt(14, bits));
    EXPECT_EQ("one four -6", DescXmlTxt::conv_flags_to_txt(-1, bits));
    for (int val = -40; val < 40; ++val) {
        int back = 99;
        EXPECT_TRUE(
            DescXmlTxt::conv_txt_to_enum(back, DescXmlTxt::conv_enum_to_txt(val, table), table));
        EXPECT_EQ(val, back);
        EXPECT_TRUE(
            DescXmlTxt::conv_txt_to_flags(back, DescXmlTxt::conv_flags_to_txt(val, bits), bits));
        EXPECT_EQ(val, back);
    }
    int val = 99;
    EXPECT_FALSE(DescXmlTxt::conv_txt_to_enum(val, "", table));
    EXPECT_FALSE(DescXmlTxt::conv_txt_to_enum(val, "One", table));
    EXPECT_FALSE(DescXmlTxt::conv_txt_to_flags(val, "one two", bits));
    EXPECT_EQ(99, val);
    EXPECT_TRUE(DescXmlTxt::conv_txt_to_flags(val, "  four  one ", bits));
    EXPECT_EQ(5, val);
}

TEST(DescXmlTxtTest, NumbersReadBackToTheBit) {
    EXPECT_EQ("0", DescXmlTxt::conv_double_to_txt(0));
    EXPECT_EQ("16", DescXmlTxt::conv_double_to_txt(16));
    EXPECT_EQ("-0.25", DescXmlTxt::conv_double_to_txt(-0.25));
    EXPECT_EQ("2.81474976710655e14", DescXmlTxt::conv_double_to_txt(281474976710655.0));
    EXPECT_EQ("0x8000000000000000", DescXmlTxt::conv_double_to_txt(-0.0));
    EXPECT_EQ("0x7FF0000000000000",
              DescXmlTxt::conv_double_to_txt(std::numeric_limits<double>::infinity()));
    std::mt19937_64 rng(4);
    for (int round = 0; round < 20000; ++round) {
        std::uint64_t bits = rng();
        if (round % 4 == 0) {
            bits &= 0x800FFFFFFFFFFFFF; // denormals
        } else if (round % 4 == 1) {
            bits = std::bit_cast<std::uint64_t>(static_cast<double>(rng() % 100000) / 1000);
        }
        double back = 1;
        std::string const txt = DescXmlTxt::conv_double_to_txt(std::bit_cast<double>(bits));
        ASSERT_TRUE(DescXmlTxt::conv_txt_to_double(back, txt)) << txt;
        ASSERT_EQ(bits, std::bit_cast<std::uint64_t>(back)) << txt;
    }
    double val = 5;
    for (char const* txt : {"", "x", "1x", " 1", "0x", "0xG", "0x10000000000000000", "1e999"}) {
        EXPECT_FALSE(DescXmlTxt::conv_txt_to_double(val, txt)) << txt;
        EXPECT_EQ(5.0, val);
    }
}
