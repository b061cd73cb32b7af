#include "DescDoc.h"

#include "support/AllocFault.h"
#include "support/Crc32.h"
#include "ulk/ace/Err.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace ulk;
using test::Bytes;
using test::ByteWriter;
using test::DescDoc;

namespace {

// The document of the bypass, part by part.
std::vector<ByteWriter> make_bypass_parts() {
    ByteWriter prop;
    prop.u32(1).str("ignore_transport_events").str("1");
    ByteWriter unid;
    unid.str("Brevanto#TessitoneBypass");
    ByteWriter pals;
    pals.u32(1);
    for (int scope = 0; scope < 7; ++scope) {
        pals.u32(0);
    }
    ByteWriter pcls;
    pcls.u32(0xFFFFFFFF).u32(2);
    for (unsigned int nbr_chn : {1u, 2u}) {
        pcls.u32(1).u32(nbr_chn).u32(1).u32(nbr_chn).u32(0).u32(0);
    }
    return {ByteWriter().part("prop", prop), ByteWriter().part("unid", unid),
            ByteWriter().part("pals", pals), ByteWriter().part("pcls", pcls)};
}

Bytes make_bypass_doc() {
    return ByteWriter::doc(make_bypass_parts());
}

} // namespace

TEST(DescMainTest, WritesTheBypassDocument) {
    prout::DescProperties prop;
    prout::DescUniqueId unique_id;
    prout::DescParamList param_list;
    prout::DescPinConfList conf_list;
    prout::DescMain main;
    main.add_desc_part(prop);
    main.add_desc_part(unique_id);
    main.add_desc_part(param_list);
    main.add_desc_part(conf_list);
    main.add_desc_part(prop); // there already
    prop.set_property("ignore_transport_events", "1");
    unique_id.set_id("Brevanto#TessitoneBypass");
    EXPECT_EQ(0, conf_list.add_conf(0x1, 0x1, 0, 0, "Mono"));
    EXPECT_EQ(1, conf_list.add_conf(0x2, 0x2, 0, 0, "Stereo"));

    Bytes data = {1, 2, 3};
    EXPECT_EQ(0, main.conv_to_bin(data));
    EXPECT_EQ(196u, data.size());
    EXPECT_EQ(0x641F84D9u, test::compute_crc32(data));
    EXPECT_EQ(make_bypass_doc(), data);
    EXPECT_EQ(&param_list, main.find(0x70616C73));
    EXPECT_EQ(nullptr, main.find(0x70696C73));
}

TEST(DescMainTest, WritesIntoABufferThatIsLongEnough) {
    DescDoc doc;
    ASSERT_EQ(0, doc.from_bin(make_bypass_doc()));
    Bytes const data = doc.to_bin();
    int const need = static_cast<int>(data.size());
    Bytes buf(data.size() + 1, 0xAA);
    for (int len : {need - 1, 0, -1, -need}) {
        int const before = len;
        EXPECT_EQ(ace::Err_NO_ROOM, doc.main.conv_to_bin(buf.data(), len));
        EXPECT_EQ(before, len);
        EXPECT_EQ(Bytes(data.size() + 1, 0xAA), buf);
    }
    for (int len : {need, need + 1, 1 << 30}) {
        std::fill(buf.begin(), buf.end(), static_cast<unsigned char>(0xAA));
        EXPECT_EQ(0, doc.main.conv_to_bin(buf.data(), len));
        EXPECT_EQ(need, len);
        EXPECT_EQ(data, Bytes(buf.begin(), buf.end() - 1));
        EXPECT_EQ(0xAA, buf.back());
    }
}

TEST(DescMainTest, ReadsTheBypassDocument) {
    DescDoc doc;
    doc.plugin_list.add_plugin(kryn::PluginFactory::PluginType_DSP, "kept");
    doc.unique_id.set_id("replaced");
    doc.conf_list.set_default_conf(3);
    std::vector<unsigned int> atom_list;
    ASSERT_EQ(0, doc.main.conv_from_bin(make_bypass_doc(), &atom_list));
    EXPECT_EQ((std::vector<unsigned int>{0x70726F70, 0x756E6964, 0x70616C73, 0x70636C73}),
              atom_list);
    EXPECT_TRUE(doc.prop.test_flag("ignore_transport_events"));
    EXPECT_EQ("Brevanto#TessitoneBypass", doc.unique_id.get_id());
    EXPECT_EQ(2, doc.conf_list.get_nbr_conf());
    EXPECT_FALSE(doc.conf_list.has_default_conf());
    EXPECT_EQ(std::vector<int>{2}, doc.conf_list.use_conf(1).use_audio_pin_list(kryn::PinDir_IN));
    EXPECT_FALSE(doc.conf_list.use_conf(1).has_name());
    EXPECT_EQ(1, doc.plugin_list.get_nbr_plugins()); // not in the data
}

TEST(DescMainTest, SizeOfTheDocumentIsItsLength) {
    Bytes data = make_bypass_doc();
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(data));
    data.push_back(0);
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(data));
    data.resize(data.size() - 2);
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(data));
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.main.conv_from_bin(data.data(), -1));
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin({}));
}

TEST(DescMainTest, UnknownPartsAreSkipped) {
    auto part_list = make_bypass_parts();
    part_list.push_back(ByteWriter().part("what", ByteWriter().raw("twelve bytes")));
    std::swap(part_list[1], part_list.back());
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(ByteWriter::doc(part_list)));
    EXPECT_TRUE(doc.prop.test_flag("ignore_transport_events"));
    EXPECT_EQ("Brevanto#TessitoneBypass", doc.unique_id.get_id());
    EXPECT_EQ(2, doc.conf_list.get_nbr_conf());
}

TEST(DescMainTest, UnknownPartsEndInsideTheDocument) {
    for (unsigned int size : {13u, 0x7FFFFFFFu, 0x80000000u, 0x80000008u, 0xFFFFFFFFu}) {
        ByteWriter part;
        part.u32(size).raw("what").raw("1234");
        DescDoc doc;
        EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(ByteWriter::doc({part}))) << size;
    }
    ByteWriter part;
    part.u32(12).raw("what").raw("1234");
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(ByteWriter::doc({part})));
}

TEST(DescMainTest, PartsHaveAPayload) {
    for (unsigned int size : {0u, 7u, 8u}) {
        for (char const* atom : {"prop", "what"}) {
            ByteWriter part;
            part.u32(size).raw(atom).u32(0);
            DescDoc doc;
            EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(ByteWriter::doc({part})));
        }
    }
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(ByteWriter::doc({ByteWriter().part("prop", ByteWriter().u32(0))})));
}

TEST(DescMainTest, SizeOfAKnownPartIsNotCompared) {
    for (unsigned int size : {9u, 500u, 0xFFFFFFFFu}) {
        ByteWriter part;
        part.u32(size).raw("unid").str("abc");
        DescDoc doc;
        EXPECT_EQ(0, doc.from_bin(ByteWriter::doc({part})));
        EXPECT_EQ("abc", doc.unique_id.get_id());
    }
}

TEST(DescMainTest, BytesBehindTheLastPartAreNoError) {
    ByteWriter parts = ByteWriter().part("unid", ByteWriter().str("abc"));
    parts.raw("and more");
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(ByteWriter::doc({parts})));
    EXPECT_EQ("abc", doc.unique_id.get_id());
}

TEST(DescMainTest, OtherAtomsAreNoDocument) {
    Bytes data = make_bypass_doc();
    data[4] = 'D';
    DescDoc doc;
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(data));
}

TEST(DescMainTest, OtherVersionsOfTheParametersAreNotRead) {
    for (unsigned int version : {0u, 2u, 0xFFFFFFFFu}) {
        ByteWriter pals;
        pals.u32(version);
        for (int scope = 0; scope < 7; ++scope) {
            pals.u32(0);
        }
        DescDoc doc;
        doc.param_list.set_nbr_param(kryn::ParamScope_NOTE, 2);
        EXPECT_EQ(ace::Err_DATA_CORRUPTED,
                  doc.from_bin(ByteWriter::doc({ByteWriter().part("pals", pals)})));
        EXPECT_EQ(0, doc.param_list.get_nbr_param(kryn::ParamScope_NOTE)); // emptied before
        util::BinaryStreamInput in(pals.bytes);
        EXPECT_EQ(ace::Err_NOT_SUPPORTED, doc.param_list.read(in));
    }
}

// What is read of a damaged list of configurations stays, and the reader goes on behind it.
TEST(DescMainTest, DamagedPinConfigurationsAreSwallowed) {
    ByteWriter pcls;
    pcls.u32(0).u32(2);
    pcls.u32(1).u32(6).u32(1).u32(5).u32(0).u32(0);
    pcls.u32(1).u32(7).u32(1000); // the list of outputs is not there
    DescDoc doc;
    EXPECT_EQ(0, doc.from_bin(ByteWriter::doc({ByteWriter().part("pcls", pcls)})));
    ASSERT_EQ(2, doc.conf_list.get_nbr_conf());
    EXPECT_EQ(std::vector<int>{5}, doc.conf_list.use_conf(0).use_audio_pin_list(kryn::PinDir_OUT));
    EXPECT_EQ(std::vector<int>{7}, doc.conf_list.use_conf(1).use_audio_pin_list(kryn::PinDir_IN));

    ByteWriter before = ByteWriter().part("pcls", pcls);
    ByteWriter after = ByteWriter().part("unid", ByteWriter().str("abc"));
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, doc.from_bin(ByteWriter::doc({before, after})));
}

TEST(DescMainTest, TwoPartsOfOneAtom) {
    prout::DescUniqueId first;
    prout::DescUniqueId second;
    prout::DescMain main;
    main.add_desc_part(first);
    main.add_desc_part(second);
    first.set_id("one");
    second.set_id("two");
    Bytes data;
    EXPECT_EQ(0, main.conv_to_bin(data));
    EXPECT_EQ(ByteWriter::doc({ByteWriter().part("unid", ByteWriter().str("one")),
                               ByteWriter().part("unid", ByteWriter().str("two"))}),
              data);
    EXPECT_EQ(&first, main.find(first.atom()));
    EXPECT_EQ(0, main.conv_from_bin(data));
    EXPECT_EQ("two", first.get_id()); // read twice
    EXPECT_EQ("two", second.get_id());
}

TEST(DescMainTest, RandomDocumentsRoundTrip) {
    std::mt19937 rng(1);
    for (int round = 0; round < 2000; ++round) {
        DescDoc doc;
        test::fill_random(doc, rng);
        Bytes const data = doc.to_bin();
        DescDoc back;
        ASSERT_EQ(0, back.from_bin(data));
        ASSERT_EQ(data, back.to_bin());
        for (int index = 0; index < back.conf_list.get_nbr_conf(); ++index) {
            ASSERT_FALSE(back.conf_list.use_conf(index).has_name());
        }
    }
}

TEST(DescMainTest, EveryFieldOfAParameterSurvives) {
    prout::DescParam param;
    param.set_range(-1.5, 1e9);
    param.set_name("Name");
    param.set_unit("unit");
    param.set_dir(1);
    param.set_flags(2);
    param.set_validity(3);
    param.set_public_range(4);
    param.set_domain_val(5);
    param.set_domain_time(6);
    param.set_type_data(7);
    param.set_type_use(-8);
    Bytes data;
    util::BinaryStreamOutput out(data);
    EXPECT_EQ(0, param.write(out));
    ByteWriter model;
    model.f64(-1.5).f64(1e9).str("Name").str("unit");
    model.u32(1).u32(2).u32(3).u32(4).u32(5).u32(6).u32(7).u32(0xFFFFFFF8);
    EXPECT_EQ(model.bytes, data);

    prout::DescParam back;
    util::BinaryStreamInput in(data);
    EXPECT_EQ(0, back.read(in));
    EXPECT_EQ(-1.5, back.get_range_min());
    EXPECT_EQ(1e9, back.get_range_max());
    EXPECT_EQ("Name", back.get_name());
    EXPECT_EQ("unit", back.get_unit());
    EXPECT_EQ(1, back.get_dir());
    EXPECT_EQ(2, back.get_flags());
    EXPECT_EQ(3, back.get_validity());
    EXPECT_EQ(4, back.get_public_range());
    EXPECT_EQ(5, back.get_domain_val());
    EXPECT_EQ(6, back.get_domain_time());
    EXPECT_EQ(7, back.get_type_data());
    EXPECT_EQ(-8, back.get_type_use());
}

TEST(DescMainTest, ParameterStartsFromItsDefaults) {
    prout::DescParam param;
    auto const expect_default = [&](double min) {
        EXPECT_EQ(min, param.get_range_min());
        EXPECT_EQ(1.0, param.get_range_max());
        EXPECT_EQ("", param.get_name());
        EXPECT_EQ("", param.get_unit());
        EXPECT_EQ(1, param.get_public_range());
        EXPECT_EQ(0, param.get_dir() | param.get_flags() | param.get_validity() |
                         param.get_domain_val() | param.get_domain_time() | param.get_type_data() |
                         param.get_type_use());
    };
    auto const spoil = [&] {
        param.set_range(5, 6);
        param.set_name("n");
        param.set_unit("u");
        param.set_flags(7);
        param.set_public_range(0);
        param.set_type_use(3);
    };
    expect_default(0);
    spoil();
    param.fill_default();
    expect_default(0);
    spoil();
    param.clear();
    expect_default(0);
    spoil();
    Bytes const data = ByteWriter().f64(-3).bytes;
    util::BinaryStreamInput in(data);
    EXPECT_EQ(ace::Err_DATA_CORRUPTED, param.read(in));
    expect_default(-3);
}

// Every allocation of a document's writing fails in turn: the caller's words stay.
TEST(DescMainTest, MemoryFailuresWhileWriting) {
    DescDoc doc;
    ASSERT_EQ(0, doc.from_bin(make_bypass_doc()));
    int const need = static_cast<int>(doc.to_bin().size());
    Bytes buf(static_cast<std::size_t>(need));
    bool failed_flag = true;
    long fail_at = 0;
    for (; failed_flag; ++fail_at) {
        int len = need;
        int ret = 0;
        std::fill(buf.begin(), buf.end(), static_cast<unsigned char>(0xAA));
        {
            test::AllocFault fault(fail_at);
            ret = doc.main.conv_to_bin(buf.data(), len);
            failed_flag = fault.has_failed();
        }
        EXPECT_EQ(failed_flag ? ace::Err_EXCEPTION : 0, ret);
        EXPECT_EQ(need, len);
        EXPECT_EQ(failed_flag, buf == Bytes(buf.size(), 0xAA));
    }
    EXPECT_GT(fail_at, 1);
}

TEST(DescMainTest, MemoryFailuresWhileReading) {
    std::mt19937 rng(5);
    DescDoc source;
    test::fill_random(source, rng);
    Bytes const data = source.to_bin();
    bool failed_flag = true;
    for (long fail_at = 0; failed_flag; ++fail_at) {
        DescDoc doc;
        int ret = 0;
        {
            test::AllocFault fault(fail_at);
            ret = doc.main.conv_from_bin(data.data(), static_cast<int>(data.size()));
            failed_flag = fault.has_failed();
        }
        EXPECT_EQ(failed_flag ? ace::Err_EXCEPTION : 0, ret);
    }
}
