#pragma once

#include "ulk/kryn/CodeTxt.h"
#include "ulk/kryn/ParamScope.h"

#include <string>

namespace ulk::prout {

// Values of the XML form as texts, without loss. The conv_txt_... are false, and the value is
// untouched, for a text that can't be read.
class DescXmlTxt {
public:
    static char const* get_scope_name(kryn::ParamScope scope);
    static bool conv_txt_to_scope(kryn::ParamScope& scope, std::string const& txt);

    // Enumeration: the text of the table, or the number.
    static std::string conv_enum_to_txt(int val, kryn::CodeTxt const* table);
    static bool conv_txt_to_enum(int& val, std::string const& txt, kryn::CodeTxt const* table);

    // Bit set: the texts of the bits, then the bits without a text as one number.
    static std::string conv_flags_to_txt(int val, kryn::CodeTxt const* table);
    static bool conv_txt_to_flags(int& val, std::string const& txt, kryn::CodeTxt const* table);

    static std::string conv_int_to_txt(int val);
    static bool conv_txt_to_int(int& val, std::string const& txt);

    // "%1%" where that reads back, otherwise all digits, and "0x" with the bits in hexadecimal for
    // what is no number (or the negative zero).
    static std::string conv_double_to_txt(double val);
    static bool conv_txt_to_double(double& val, std::string const& txt);

    // 0 when XML can hold txt, -14492 for invalid UTF-8, -14490 for a character outside XML.
    static int check_txt(std::string const& txt);
};

} // namespace ulk::prout
