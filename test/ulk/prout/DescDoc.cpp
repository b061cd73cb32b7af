#include "DescDoc.h"

#include "ulk/kryn/ParamScope.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

namespace test {

namespace {

std::string make_txt(std::mt19937& rng) {
    static std::vector<std::string> const piece_list = {"a",
                                                        "Zz",
                                                        " ",
                                                        "\n",
                                                        "\t",
                                                        "\r",
                                                        "<",
                                                        "&",
                                                        "\"",
                                                        "'",
                                                        ">",
                                                        "1",
                                                        "&#x41;",
                                                        "\xC3\xA9",
                                                        "\xE2\x82\xAC",
                                                        "\xF0\x9F\x8E\xB5",
                                                        "&#",
                                                        ";",
                                                        "/",
                                                        "=",
                                                        "]]>",
                                                        "&amp;&#x26;",
                                                        "--",
                                                        "\x7F"};
    std::string txt;
    for (auto len = rng() % 8; len > 0; --len) {
        txt += piece_list[rng() % piece_list.size()];
    }
    return txt;
}

int make_int(std::mt19937& rng) {
    switch (rng() % 4) {
    case 0:
        return static_cast<int>(rng());
    case 1:
        return std::numeric_limits<int>::min() + static_cast<int>(rng() % 2);
    default:
        return static_cast<int>(rng() % 9);
    }
}

double make_double(std::mt19937& rng) {
    switch (rng() % 3) {
    case 0: // any bits: denormals, infinities and all kinds of NaN
        return std::bit_cast<double>((std::uint64_t(rng()) << 32) | rng());
    case 1:
        return static_cast<double>(static_cast<int>(rng() % 2001) - 1000) / 8;
    default: {
        static double const special_arr[] = {0.0,
                                             -0.0,
                                             1.0 / 3,
                                             1e300,
                                             281474976710655.0,
                                             std::numeric_limits<double>::denorm_min(),
                                             std::numeric_limits<double>::max(),
                                             std::numeric_limits<double>::infinity(),
                                             std::numeric_limits<double>::quiet_NaN()};
        return special_arr[rng() % std::size(special_arr)];
    }
    }
}

void fill_param(ulk::prout::DescParam& param, std::mt19937& rng) {
    param.set_range(make_double(rng), make_double(rng));
    param.set_name(make_txt(rng));
    param.set_unit(make_txt(rng));
    param.set_dir(make_int(rng));
    param.set_flags(make_int(rng));
    param.set_validity(make_int(rng));
    param.set_public_range(make_int(rng));
    param.set_domain_val(make_int(rng));
    param.set_domain_time(make_int(rng));
    param.set_type_data(make_int(rng));
    param.set_type_use(make_int(rng));
}

void fill_conf(ulk::prout::DescPinConf& conf, std::mt19937& rng) {
    if (rng() % 2 != 0) {
        conf.set_name(make_txt(rng));
    }
    for (auto dir : {kryn::PinDir_IN, kryn::PinDir_OUT}) {
        for (auto cnt = rng() % 5; cnt > 0; --cnt) {
            conf.use_audio_pin_list(dir).push_back(static_cast<int>(1 + rng() % 4096));
        }
        conf.set_nbr_pins_data(dir, make_int(rng));
    }
}

} // namespace

DescDoc::DescDoc() {
    main.add_desc_part(prop);
    main.add_desc_part(unique_id);
    main.add_desc_part(param_list);
    main.add_desc_part(conf_list);
    main.add_desc_part(plugin_list);
}

Bytes DescDoc::to_bin() const {
    Bytes data;
    EXPECT_EQ(0, main.conv_to_bin(data));
    return data;
}

void fill_random(DescDoc& doc, std::mt19937& rng) {
    for (auto cnt = rng() % 4; cnt > 0; --cnt) {
        std::string key = make_txt(rng);
        key.push_back('k'); // never empty
        doc.prop.set_property(key, make_txt(rng));
    }
    doc.unique_id.set_id(make_txt(rng).c_str());
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        auto const scope = static_cast<kryn::ParamScope>(pos);
        doc.param_list.set_nbr_param(scope, static_cast<int>(rng() % 3));
        for (int index = 0; index < doc.param_list.get_nbr_param(scope); ++index) {
            fill_param(doc.param_list.use_param(scope, index), rng);
        }
    }
    doc.conf_list.set_default_conf(static_cast<int>(rng() % 5) - 1);
    int const nbr_conf = static_cast<int>(rng() % 4);
    for (int index = 0; index < nbr_conf; ++index) {
        EXPECT_EQ(0, doc.conf_list.create_conf(index));
        fill_conf(doc.conf_list.use_conf(index), rng);
    }
    for (auto cnt = rng() % 4; cnt > 0; --cnt) {
        ulk::prout::DescPluginList::PlugInfo info;
        info._unique_id = make_txt(rng);
        info._type = make_int(rng);
        for (auto links = rng() % 3; links > 0; --links) {
            info._ref_id_list.push_back(make_txt(rng));
        }
        doc.plugin_list.use_plug_info_list().push_back(info);
    }
}

ByteWriter& ByteWriter::u32(unsigned int val) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<unsigned char>(val >> shift));
    }
    return *this;
}

ByteWriter& ByteWriter::f64(double val) {
    auto const bits = std::bit_cast<std::uint64_t>(val);
    return u32(static_cast<unsigned int>(bits >> 32)).u32(static_cast<unsigned int>(bits));
}

ByteWriter& ByteWriter::str(std::string const& txt) {
    return u32(static_cast<unsigned int>(txt.size())).raw(txt);
}

ByteWriter& ByteWriter::raw(std::string const& txt) {
    bytes.insert(bytes.end(), txt.begin(), txt.end());
    return *this;
}

ByteWriter& ByteWriter::part(std::string const& atom, ByteWriter const& payload) {
    u32(static_cast<unsigned int>(payload.bytes.size() + 8)).raw(atom);
    bytes.insert(bytes.end(), payload.bytes.begin(), payload.bytes.end());
    return *this;
}

Bytes ByteWriter::doc(std::vector<ByteWriter> const& part_list) {
    ByteWriter body;
    body.raw("desc").u32(static_cast<unsigned int>(part_list.size()));
    for (ByteWriter const& part : part_list) {
        body.bytes.insert(body.bytes.end(), part.bytes.begin(), part.bytes.end());
    }
    ByteWriter all;
    all.u32(static_cast<unsigned int>(body.bytes.size() + 4));
    all.bytes.insert(all.bytes.end(), body.bytes.begin(), body.bytes.end());
    return all.bytes;
}

} // namespace test
