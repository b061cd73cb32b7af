#pragma once

#include "ulk/kryn/CodeTxt.h"

namespace kryn {

// What every component (factory or plug-in) has.
class Component {
public:
    class Cmd {
    public:
        enum : int {
            REPORT_ERROR = 0x0001, // to the host
            DESCRIBE = 0x0002,     // Describe
            GET_VENDOR_SPECIFIC_DATA = 0x0003,
            GET_CALL_CONTEXT = 0x0004,
            DESTROY = 0x0101 // no record
        };

        // DESCRIBE. data: where the document goes. len: capacity in bytes on entry, length of the
        // document on success. When it does not fit, neither data nor len changes.
        struct Describe {
            unsigned char* data;
            int len;
        };
    };

    static const CodeTxt cmd_txt_list[5 + 1];

    // Atoms of the binary description document.
    static constexpr unsigned int atom_desc = 0x64657363;       // "desc"
    static constexpr unsigned int atom_properties = 0x70726F70; // "prop"

    // Names of the XML description document.
    static constexpr char xml_component[] = "component"; // root
    static constexpr char xml_property_list[] = "properties";
    static constexpr char xml_property[] = "property";
    static constexpr char xml_property_name[] = "name";
    static constexpr char xml_property_val[] = "val";

    // Keys of properties.
    static constexpr char prop_prod_name[] = "product_name";
    static constexpr char prop_prod_ver[] = "product_version";
    static constexpr char prop_prod_desc[] = "product_description";
    static constexpr char prop_prod_cred[] = "product_credit_list";
    static constexpr char prop_prod_vendor[] = "vendor_name";
    static constexpr char prop_prod_legal[] = "legal_string";
    static constexpr char prop_prod_url[] = "web_url";
    static constexpr char prop_is_wrapper[] = "is_wrapper";
    static constexpr char prop_wrap_name[] = "wrapper_name";
    static constexpr char prop_wrap_vers[] = "wrapper_version";
    static constexpr char prop_wrap_desc[] = "wrapper_description";
    static constexpr char prop_wrap_cred[] = "wrapper_credit_list";
    static constexpr char prop_wrap_vendor[] = "wrapper_vendor_name";
    static constexpr char prop_wrap_legal[] = "wrapper_legal_string";
    static constexpr char prop_wrap_url[] = "wrapper_web_url";
    static constexpr char prop_categ_tag_list[] = "categ_tag_list";
};

} // namespace kryn
