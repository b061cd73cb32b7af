#pragma once

#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescPluginList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"

#include <random>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<unsigned char>;

// A document with every part there is.
struct DescDoc {
    DescDoc();
    DescDoc(DescDoc const&) = delete;
    DescDoc& operator=(DescDoc const&) = delete;

    Bytes to_bin() const; // expects success
    int from_bin(Bytes const& data) { return main.conv_from_bin(data); }

    ulk::prout::DescProperties prop;
    ulk::prout::DescUniqueId unique_id;
    ulk::prout::DescParamList param_list;
    ulk::prout::DescPinConfList conf_list;
    ulk::prout::DescPluginList plugin_list;
    ulk::prout::DescMain main;
};

// Fills doc with anything that both forms can hold, pin names included.
void fill_random(DescDoc& doc, std::mt19937& rng);

// Writes big-endian bytes by hand, for a model of the binary form.
class ByteWriter {
public:
    ByteWriter& u32(unsigned int val);
    ByteWriter& f64(double val);
    ByteWriter& str(std::string const& txt);
    ByteWriter& raw(std::string const& txt); // no length
    ByteWriter& part(std::string const& atom, ByteWriter const& payload);
    // The whole document with these parts.
    static Bytes doc(std::vector<ByteWriter> const& part_list);

    Bytes bytes;
};

} // namespace test
