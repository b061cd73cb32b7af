#include "host/Description.h"

#include "host/Error.h"
#include "ulk/prout/DescPluginList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using ulk::host::Description;

namespace {

std::string show(std::string_view data) {
    return Description::print(Description(data, "test").conv_to_json());
}

std::string show_id(std::string const& id) {
    ulk::prout::DescPluginList list;
    list.add_plugin(kryn::PluginFactory::PluginType_DSP, id);
    list.add_plugin(kryn::PluginFactory::PluginType_DSP, "second");
    list.add_link("second", "linked");
    ulk::prout::DescMain main;
    main.add_desc_part(list);
    std::vector<unsigned char> data;
    EXPECT_EQ(0, main.conv_to_bin(data));
    return show({reinterpret_cast<char const*>(data.data()), data.size()});
}

std::string make_list(std::string const& id, std::string const& pad) {
    return "Factory\n\nPlug-ins\n  Type  Identifier  Links\n  dsp   " + id + "\n  dsp   second" +
           pad + "linked\n";
}

} // namespace

TEST(DescriptionTest, NothingOfADocumentSteersTheTerminal) {
    std::string const pad(6, ' ');
    EXPECT_EQ(make_list("first", pad), show_id("first"));
    EXPECT_EQ(make_list("a?[31m?b", pad), show_id("a\x1B[31m\x7F"
                                                  "b"));
    EXPECT_EQ(make_list("\xC3\xA9?31m\xC2\xA0!", pad), show_id("\xC3\xA9\xC2\x9B"
                                                               "31m\xC2\xA0!"));
    EXPECT_EQ(make_list("x\xEF\xBF\xBD(\xEF\xBF\xBD", pad), show_id("x\xC2(\x9B"));
    EXPECT_EQ("?]0;?\n", show("<component><unique_id val='&#x9D;]0;&#x85;'/></component>"));
}

TEST(DescriptionTest, ParametersAndConfigurationsAreTables) {
    EXPECT_EQ(R"(id

Parameters, scope note
  #  Name    Unit  Range              Default  Values      Events   Direction  Use        Quantity   Settable           Flags
  0  Volume  dB    0 to 16                     continuous  natural  stateful   volume     gain       note_on, note_off
  1                0 to not a number           discrete    natural  9          undefined  undefined  any time           hidden
  2                -infinity to 0              continuous  natural  stateful   undefined  undefined  any time
)",
              show("<component><unique_id val='id'/><parameters><scope name='note'><parameter>"
                   "<property name='name' val='Vol&#x0A;Volume'/><property name='unit' val='dB'/>"
                   "<property name='type_use' val='volume'/>"
                   "<property name='type_data' val='gain'/>"
                   "<property name='validity' val='note_on note_off'/><range max='16'/>"
                   "</parameter><parameter><property name='dir' val='9'/>"
                   "<property name='domain_val' val='discrete'/>"
                   "<property name='flags' val='hidden'/><range max='0x7FF8000000000000'/>"
                   "</parameter><parameter><range min='0xFFF0000000000000' "
                   "max='0x8000000000000000'/></parameter></scope></parameters></component>"));
    EXPECT_EQ(R"(id

Pin configurations
  #  Name  Input pins        Output pins
  0  Two   mono, 2 x stereo  3 channels, 2 x data  default
  1        none              5.1, 7.1
)",
              show("<component><unique_id val='id'/><pin_confs default_id='0'><pin_conf>"
                   "<property name='name' val='Two'/><pins_audio in='1 2 2' out='3'/>"
                   "<pins_data in='0' out='2'/></pin_conf><pin_conf><pins_audio in='' out='6 8'/>"
                   "<pins_data in='0' out='0'/></pin_conf></pin_confs></component>"));
}

TEST(DescriptionTest, DamageIsAnError) {
    EXPECT_THROW(show(""), ulk::host::Error);
    EXPECT_THROW(show("<component>"), ulk::host::Error);
    EXPECT_THROW(show(std::string("\0\0\0\x0C"
                                  "desc\0\0\0\x01",
                                  12)),
                 ulk::host::Error);
    EXPECT_EQ("Factory\n", show(std::string("\0\0\0\x0C"
                                            "desc\0\0\0\0",
                                            12)));
}
