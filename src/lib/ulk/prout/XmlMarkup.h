#pragma once

#include <string>

class TiXmlElement;

namespace ulk::prout {

// What the parser does not look after.
class XmlMarkup {
public:
    static constexpr int max_depth = 32;    // of elements in each other
    static constexpr int max_nbr_attr = 64; // of an element

    // Looks over a text before TinyXML parses it, for what would make the parser recurse or search
    // without bound, or read past a broken UTF-8 sequence.
    // 0 with the place behind the XML declaration in beg, or a code with the reason in reason. The
    // text then holds only elements, closed or not, with no "<" in their attributes, and comments.
    static int check(std::size_t& beg, std::string& reason, std::string const& xml);

    // All attributes of a tree hold texts that XML can hold: 0, -14492 for invalid UTF-8, -14490
    // for a character outside XML, with a log line.
    static int check_texts(TiXmlElement const& elt);
};

} // namespace ulk::prout
