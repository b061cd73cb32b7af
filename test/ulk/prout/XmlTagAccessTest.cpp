#include "ulk/prout/XmlTagAccess.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/DescPinConf.h"
#include "ulk/prout/DescProperties.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <map>
#include <string>
#include <vector>

using namespace ulk;
using prout::DescPinConf;
using prout::DescProperties;
using prout::XmlTagAccess;

namespace {

class XmlTagAccessTest : public ::testing::Test {
protected:
    // Replaces the tree; the current node is its root element.
    XmlTagAccess parse(char const* txt) {
        _doc.Clear();
        _doc.Parse(txt);
        EXPECT_FALSE(_doc.Error()) << _doc.ErrorDesc();
        return XmlTagAccess(*_doc.RootElement());
    }
    std::string print() const {
        TiXmlPrinter printer;
        printer.SetStreamPrinting();
        _doc.RootElement()->Accept(&printer);
        return printer.Str();
    }

    TiXmlDocument _doc;
};

std::string get_txt(XmlTagAccess const& xml, char const* path) {
    std::string val;
    EXPECT_TRUE(xml.get_val(path, val));
    return val;
}

} // namespace

TEST_F(XmlTagAccessTest, WalksDownAndUp) {
    XmlTagAccess xml = parse("<r><a/><b n='1'><c/></b></r>");
    EXPECT_TRUE(xml.go_to("a/../b", false));
    EXPECT_STREQ("b", xml.use_node().Value());
    EXPECT_TRUE(xml.go_to("//c/", false));
    EXPECT_STREQ("c", xml.use_node().Value());
    EXPECT_TRUE(xml.go_to("../..", false));
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_TRUE(xml.go_to("", false));
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_TRUE(xml.go_to("..", false)); // the document
    EXPECT_FALSE(xml.go_to("..", false));
    EXPECT_FALSE(xml.go_to("../r", true));
    EXPECT_TRUE(xml.go_to("r/b", false));
}

TEST_F(XmlTagAccessTest, MissingNodes) {
    XmlTagAccess xml = parse("<r><a/></r>");
    EXPECT_FALSE(xml.go_to("a/x", false));
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_EQ("<r><a /></r>", print());
    EXPECT_TRUE(xml.go_to("a/x/y", true));
    EXPECT_STREQ("y", xml.use_node().Value());
    EXPECT_EQ("<r><a><x><y /></x></a></r>", print());
    EXPECT_TRUE(xml.go_to("../../..", false));
    EXPECT_TRUE(xml.go_to("a/x/y", true)); // now they are there
    EXPECT_EQ("<r><a><x><y /></x></a></r>", print());
}

TEST_F(XmlTagAccessTest, AWalkThatFailsKeepsWhatItCreated) {
    XmlTagAccess xml = parse("<r/>");
    EXPECT_FALSE(xml.go_to("new/../../../x", true));
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_EQ("<r><new /></r>", print());
}

TEST_F(XmlTagAccessTest, StepsMatchElementsAlone) {
    XmlTagAccess xml = parse("<r>a<!--a--><a n='1'/></r>");
    EXPECT_TRUE(xml.go_to("a", false));
    EXPECT_NE(nullptr, xml.use_node().ToElement());
    XmlTagAccess texts = parse("<r>a<!--b--></r>");
    EXPECT_FALSE(texts.go_to("a", false));
    EXPECT_FALSE(texts.go_to("b", false));
}

TEST_F(XmlTagAccessTest, AddsSiblings) {
    XmlTagAccess xml = parse("<r><a/></r>");
    xml.add_child_node_and_go_to("a");
    EXPECT_STREQ("a", xml.use_node().Value());
    xml.go_to("..", false);
    xml.add_child_node_and_go_to("x/y");
    xml.go_to("../..", false);
    xml.add_child_node_and_go_to("x/y"); // only the last is new
    EXPECT_EQ("<r><a /><a /><x><y /><y /></x></r>", print());
    xml.add_child_node_and_go_to("..");
    EXPECT_STREQ("x", xml.use_node().Value());
    EXPECT_EQ("<r><a /><a /><x><y /><y /></x></r>", print());
}

TEST_F(XmlTagAccessTest, StatesAreStacked) {
    XmlTagAccess xml = parse("<r><a><b/></a></r>");
    xml.push_state();
    xml.go_to("a", false);
    xml.push_state();
    xml.go_to("b", false);
    xml.pop_state();
    EXPECT_STREQ("a", xml.use_node().Value());
    xml.pop_state();
    EXPECT_STREQ("r", xml.use_node().Value());
}

TEST_F(XmlTagAccessTest, Lists) {
    XmlTagAccess xml = parse("<r z='1' a='2' m=''><a n='1'/>txt<b/><!--a--><a n='2'/></r>");
    std::vector<TiXmlNode*> list(3, nullptr);
    xml.list_elt(list, "a");
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ("2", get_txt(XmlTagAccess(*list[1]), "n"));
    xml.list_elt(list, "");
    EXPECT_EQ(3u, list.size());
    EXPECT_STREQ("b", list[1]->Value());
    xml.list_elt(list, "zz");
    EXPECT_TRUE(list.empty());

    std::vector<std::string> name_list = {"old"};
    xml.list_attrib(name_list);
    EXPECT_EQ((std::vector<std::string>{"z", "a", "m"}), name_list);
    XmlTagAccess(_doc).list_attrib(name_list); // no element
    EXPECT_TRUE(name_list.empty());
}

TEST_F(XmlTagAccessTest, SetValCreatesWhatIsMissing) {
    XmlTagAccess xml = parse("<r/>");
    EXPECT_TRUE(xml.set_val("a/b/n", std::string("v")));
    EXPECT_TRUE(xml.set_val("a/b/n", std::string("w")));
    EXPECT_TRUE(xml.set_val("m", 3LL));
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_EQ("<r m=\"3\"><a><b n=\"w\" /></a></r>", print());
    EXPECT_FALSE(xml.set_val("", 1LL));
    EXPECT_FALSE(xml.set_val("../n", 1LL)); // the document is no element
    EXPECT_FALSE(xml.set_val("../../n", 1LL));
}

TEST_F(XmlTagAccessTest, NumbersArePrintedByTheFormatter) {
    XmlTagAccess xml = parse("<r/>");
    auto const show = [&](auto val) {
        xml.set_val("n", val);
        return get_txt(xml, "n");
    };
    EXPECT_EQ("0.333333", show(1.0 / 3));
    EXPECT_EQ("0.1", show(0.1));
    EXPECT_EQ("1e10", show(1e10));
    EXPECT_EQ("-2.5", show(-2.5));
    EXPECT_EQ("0", show(0.0));
    EXPECT_EQ("-9223372036854775808", show(-9223372036854775807LL - 1));
    EXPECT_EQ("9223372036854775807", show(9223372036854775807LL));
}

TEST_F(XmlTagAccessTest, GetVal) {
    XmlTagAccess const xml = parse("<r><a t='x' i=' -12z' f='+2.5e1' e='' h='0x10' b='+'/></r>");
    EXPECT_EQ("x", get_txt(xml, "a/t"));
    EXPECT_EQ("", get_txt(xml, "a/e"));
    long long i = 5;
    EXPECT_TRUE(xml.get_val("a/i", i));
    EXPECT_EQ(-12, i);
    EXPECT_TRUE(xml.get_val("a/h", i));
    EXPECT_EQ(0, i); // base 10 alone
    double f = 5;
    EXPECT_TRUE(xml.get_val("a/f", f));
    EXPECT_EQ(25.0, f);
    EXPECT_TRUE(xml.get_val("a/i", f));
    EXPECT_EQ(-12.0, f);
}

TEST_F(XmlTagAccessTest, GetValLeavesTheOutputAloneOnFailure) {
    XmlTagAccess const xml = parse("<r><a t='x' e='' p='+' q='+-1'/></r>");
    for (char const* path : {"a/none", "b/t", "a", "", "a/t", "a/e", "a/p", "a/q", "../n"}) {
        double f = 5;
        EXPECT_FALSE(xml.get_val(path, f)) << path;
        EXPECT_EQ(5.0, f);
    }
    for (char const* path : {"a/none", "b/t", "a", "", "a/t", "a/e", "a/p", "a/q", "../n"}) {
        long long i = 5;
        EXPECT_FALSE(xml.get_val(path, i)) << path;
        EXPECT_EQ(5, i);
    }
    std::string txt = "old";
    EXPECT_FALSE(xml.get_val("a/none", txt));
    EXPECT_FALSE(xml.get_val("b/t", txt)); // reading creates no element
    EXPECT_EQ("old", txt);
    EXPECT_EQ(nullptr, _doc.RootElement()->FirstChildElement("b"));
}

TEST_F(XmlTagAccessTest, CollectPropTakesTheChildrenInOrder) {
    XmlTagAccess xml = parse("<r><property name='a' val='1'/><other><property name='x' val='9'/>"
                             "</other><property val='' name='b'/><property name='a' val='2'/></r>");
    std::map<std::string, std::string> prop_map = {{"b", "old"}, {"c", "kept"}};
    EXPECT_EQ(0, DescProperties::collect_prop(prop_map, xml));
    EXPECT_EQ((std::map<std::string, std::string>{{"a", "2"}, {"b", ""}, {"c", "kept"}}), prop_map);
    EXPECT_STREQ("r", xml.use_node().Value());

    XmlTagAccess empty = parse("<r><other/></r>");
    EXPECT_EQ(0, DescProperties::collect_prop(prop_map, empty));
    EXPECT_EQ(3u, prop_map.size());
}

TEST_F(XmlTagAccessTest, CollectPropRefusesIncompleteElements) {
    for (char const* bad : {"<property name='x'/>", "<property val='x'/>", "<property/>",
                            "<property name='' val='x'/>"}) {
        auto const txt = std::string("<r><property name='a' val='1'/>") + bad +
                         "<property name='z' val='2'/></r>";
        XmlTagAccess xml = parse(txt.c_str());
        std::map<std::string, std::string> prop_map;
        EXPECT_EQ(ace::Err_INVALID_FORMAT, DescProperties::collect_prop(prop_map, xml));
        EXPECT_EQ((std::map<std::string, std::string>{{"a", "1"}}), prop_map);
        EXPECT_STREQ("r", xml.use_node().Value()); // the state is popped
    }
}

TEST_F(XmlTagAccessTest, SerializePropAddsAnElement) {
    XmlTagAccess xml = parse("<r/>");
    DescPinConf const conf;
    conf.serialize_prop(xml, "name", "Stereo");
    conf.serialize_prop(xml, "name", "again");
    EXPECT_STREQ("r", xml.use_node().Value());
    EXPECT_EQ("<r><property name=\"name\" val=\"Stereo\" /><property name=\"name\" val=\"again\" />"
              "</r>",
              print());
}

TEST(ChnListTest, Texts) {
    EXPECT_EQ("", DescPinConf::conv_chn_list_to_str({}));
    EXPECT_EQ("2", DescPinConf::conv_chn_list_to_str({2}));
    EXPECT_EQ("2 1 1", DescPinConf::conv_chn_list_to_str({2, 1, 1}));
    EXPECT_EQ("1 1 1", DescPinConf::conv_chn_list_to_str({1, 1, 1}));
    EXPECT_EQ("-1 4096", DescPinConf::conv_chn_list_to_str({-1, 4096}));
}

TEST(ChnListTest, Reading) {
    struct Case {
        char const* txt;
        int ret;
        std::vector<int> list;
    };
    for (Case const& c : std::vector<Case>{{"", 0, {}},
                                           {"   ", 0, {}},
                                           {"2 1 1", 0, {2, 1, 1}},
                                           {" \t2\n1  ", 0, {2, 1}},
                                           {"1 4096", 0, {1, 4096}},
                                           {"+3", 0, {3}},
                                           {"0", ace::Err_OUT_OF_RANGE, {}},
                                           {"5 0 6", ace::Err_OUT_OF_RANGE, {5}},
                                           {"4097", ace::Err_OUT_OF_RANGE, {}},
                                           {"-1", ace::Err_OUT_OF_RANGE, {}},
                                           {"99999999999999999999", ace::Err_OUT_OF_RANGE, {}},
                                           {"4294967297", 0, {1}}, // cut to an int
                                           {"2,1", -14470, {2}},
                                           {"2 x", -14470, {2}},
                                           {"2 -", -14470, {2}},
                                           {"0x10", ace::Err_OUT_OF_RANGE, {}},
                                           {"1x10", -14470, {1}}}) {
        std::vector<int> list = {7, 7};
        EXPECT_EQ(c.ret, DescPinConf::conv_str_to_chn_list(list, c.txt)) << c.txt;
        EXPECT_EQ(c.list, list) << c.txt;
    }
}
