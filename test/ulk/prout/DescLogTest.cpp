// The log lines of failures, which are part of what a document's readers promise.

#include "DescDoc.h"
#include "LogLines.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/ParamDescList.h"
#include "ulk/prout/XmlTagAccess.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <map>
#include <string>
#include <vector>

using namespace ulk;
using kryn::PluginFactory;
using test::Bytes;
using test::ByteWriter;
using test::DescDoc;
using Lines = std::vector<std::string>;

namespace {

template <class Fnc>
Lines log_of(Fnc fnc) {
    test::LogLines lines;
    fnc();
    return lines.get();
}

Lines read_lines(Bytes const& data) {
    return log_of([&] {
        DescDoc doc;
        doc.from_bin(data);
    });
}

Lines read_part(char const* atom, ByteWriter const& payload) {
    return read_lines(ByteWriter::doc({ByteWriter().part(atom, payload)}));
}

// A parameter list of one parameter in scope 0 whose fields end after len bytes.
Lines read_cut_param(std::size_t len) {
    ByteWriter fields;
    fields.f64(0).f64(1).u32(0).u32(0);
    for (int k = 0; k < 8; ++k) {
        fields.u32(0);
    }
    ByteWriter pals = ByteWriter().u32(1).u32(1);
    pals.bytes.insert(pals.bytes.end(), fields.bytes.begin(),
                      fields.bytes.begin() + static_cast<std::ptrdiff_t>(len));
    return read_part("pals", pals);
}

} // namespace

TEST(DescLogTest, Document) {
    EXPECT_EQ(Lines{"DescMain: Error while reading desc size"}, read_lines({1, 2, 3}));
    EXPECT_EQ(Lines{"DescMain: desc size mismatch"}, read_lines(ByteWriter().u32(9).bytes));
    EXPECT_EQ(Lines{"DescMain: Error while reading desc atom"},
              read_lines(ByteWriter().u32(4).bytes));
    EXPECT_EQ(Lines{"DescMain: desc atom mismatch"},
              read_lines(ByteWriter().u32(8).raw("desk").bytes));
    EXPECT_EQ(Lines{"DescMain: Error while reading number desc"},
              read_lines(ByteWriter().u32(8).raw("desc").bytes));
    EXPECT_EQ(Lines{"DescMain: Error while reading sub desc size"},
              read_lines(ByteWriter().u32(12).raw("desc").u32(1).bytes));
    EXPECT_EQ(Lines{"DescMain: sub desc size wrong"},
              read_lines(ByteWriter().u32(20).raw("desc").u32(1).u32(8).raw("prop").bytes));
    EXPECT_EQ(Lines{"DescMain: Error while reading sub atom"},
              read_lines(ByteWriter().u32(16).raw("desc").u32(1).u32(12).bytes));
    EXPECT_EQ(
        Lines{"DescMain: skipping atom failed"},
        read_lines(ByteWriter().u32(20).raw("desc").u32(1).u32(0x80000000).raw("what").bytes));
    EXPECT_EQ(Lines{}, read_lines(ByteWriter().u32(12).raw("desc").u32(0).bytes));
}

TEST(DescLogTest, Parts) {
    EXPECT_EQ(Lines{"DescProperties: Error while reading _prop_map"},
              read_part("prop", ByteWriter().u32(1)));
    EXPECT_EQ(Lines{"DescUniqueId: Error while reading _unique_id"},
              read_part("unid", ByteWriter().u32(1)));
    EXPECT_EQ(Lines{"DescPluginList: Error while reading _plug_info_list"},
              read_part("pils", ByteWriter().raw("abc")));
    // The innermost text first.
    std::string const around = "DescPluginList: Error while reading _plug_info_list";
    EXPECT_EQ((Lines{"DescPluginList: Error while reading _unique_id", around}),
              read_part("pils", ByteWriter().u32(1)));
    EXPECT_EQ((Lines{"DescPluginList: Error while reading _type", around}),
              read_part("pils", ByteWriter().u32(1).str("a")));
    EXPECT_EQ((Lines{"DescPluginList: Error while reading _ref_id_list", around}),
              read_part("pils", ByteWriter().u32(1).str("a").u32(0).u32(5)));
    EXPECT_EQ(Lines{"DescPinConfList: Error while reading _def_conf"},
              read_part("pcls", ByteWriter().raw("a")));
    EXPECT_EQ(Lines{"DescPinConfList: Error while reading size"},
              read_part("pcls", ByteWriter().u32(0)));
}

TEST(DescLogTest, PinConfigurations) {
    char const* const field_arr[] = {"chn list in", "chn list out", "pin data in", "pin data out"};
    ByteWriter pcls = ByteWriter().u32(0).u32(1);
    for (char const* field : field_arr) {
        Lines const lines = read_part("pcls", pcls);
        EXPECT_EQ((Lines{std::string("DescPinConf: Error while reading ") + field,
                         "DescPinConfList: Error while reading size"}),
                  lines);
        pcls.u32(0);
    }
    EXPECT_EQ(Lines{}, read_part("pcls", pcls));
}

TEST(DescLogTest, Parameters) {
    struct Field {
        char const* name;
        std::size_t len;
    };
    std::size_t pos = 0;
    for (Field const& field : std::vector<Field>{{"_val_min", 8},
                                                 {"_val_max", 8},
                                                 {"_name", 4},
                                                 {"_unit", 4},
                                                 {"_dir", 4},
                                                 {"_flags", 4},
                                                 {"_validity_flags", 4},
                                                 {"_public_range", 4},
                                                 {"_domain_val", 4},
                                                 {"_domain_time", 4},
                                                 {"_type_data", 4},
                                                 {"_type_use", 4}}) {
        Lines const lines = read_cut_param(pos);
        EXPECT_EQ((Lines{std::string("DescParam: Error while reading ") + field.name,
                         "DescParamList: Error while reading param scope size"}),
                  lines);
        pos += field.len;
    }
    EXPECT_EQ(Lines{"DescParamList: Error while reading param scope size"}, read_cut_param(pos));
    EXPECT_EQ(Lines{"DescParamList: Error while reading version"},
              read_part("pals", ByteWriter().raw("abc")));
    EXPECT_EQ(Lines{"DescParamList: version 2 not supported"},
              read_part("pals", ByteWriter().u32(2)));
}

TEST(DescLogTest, EveryFailureOfADocumentLeavesALine) {
    std::mt19937 rng(8);
    DescDoc source;
    test::fill_random(source, rng);
    Bytes data = source.to_bin();
    for (auto& byte : data) {
        auto const saved = byte;
        byte = static_cast<unsigned char>(byte ^ (1u << (rng() % 8)));
        int ret = 0;
        Lines const lines = log_of([&] {
            DescDoc doc;
            ret = doc.from_bin(data);
        });
        EXPECT_TRUE(ret == 0 || !lines.empty());
        byte = saved;
    }
}

TEST(DescLogTest, Lists) {
    EXPECT_EQ(Lines{"add_plugin (): Cannot add \"a\" plug-in of type 1 because it is already there "
                    "with a different type (0)."},
              log_of([] {
                  prout::DescPluginList list;
                  list.add_plugin(PluginFactory::PluginType_DSP, "a");
                  list.add_plugin(PluginFactory::PluginType_VIEWCTRL, "a");
              }));
    EXPECT_EQ(Lines{"add_link(): Cannot find plug-in \"a\" (to be linked with \"b\")"},
              log_of([] { prout::DescPluginList().add_link("a", "b"); }));
    EXPECT_EQ(Lines{"create_conf(): Config # 3 already exists."}, log_of([] {
                  prout::DescPinConfList list;
                  list.create_conf(3);
                  list.create_conf(3);
              }));
}

TEST(DescLogTest, ParameterIndexOutOfRange) {
    char txt[8] = "";
    double val = 0;
    prout::ParamDescList const list;
    std::string const line = "conv_param_to_str(): index out of range (-1, nbr param = 0)";
    EXPECT_EQ(Lines{line}, log_of([&] { list.conv_param_to_str(-1, 0, txt, 7); }));
    EXPECT_EQ(Lines{line}, log_of([&] { list.conv_param_from_str(-1, "1", val); }));
}

TEST(DescLogTest, Xml) {
    std::vector<int> list;
    auto const read = [&](char const* txt) {
        return log_of([&] { prout::DescPinConf::conv_str_to_chn_list(list, txt); });
    };
    EXPECT_EQ(Lines{"conv_str_to_chn_list(): Number of channels out of range (4097) for pin 1."},
              read("2 4097"));
    EXPECT_EQ(Lines{"conv_str_to_chn_list(): Invalid character."}, read("2,1"));

    auto const collect = [](char const* txt) {
        TiXmlDocument doc;
        doc.Parse(txt);
        return log_of([&] {
            prout::XmlTagAccess xml(*doc.RootElement());
            std::map<std::string, std::string> prop_map;
            prout::DescProperties::collect_prop(prop_map, xml);
        });
    };
    EXPECT_EQ(Lines{"collect_prop(): Missing property in property tag."},
              collect("<r><property name='a'/></r>"));
    EXPECT_EQ(Lines{"collect_prop(): Property name is empty."},
              collect("<r><property name='' val='1'/></r>"));
}
