#include "ulk/prout/XmlMarkup.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/DescXmlTxt.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/udbg/log.h"

#include <tinyxml.h>

#include <string_view>

namespace ulk::prout {

namespace {

constexpr auto npos = std::string_view::npos;

// Place behind the first pattern at or after pos, or npos.
std::size_t skip_past(std::string_view xml, std::size_t pos, std::string_view pattern) {
    pos = xml.find(pattern, pos);
    return pos == npos ? npos : pos + pattern.size();
}

// The parser recurses on each element inside an element and compares each attribute with those
// before it. The scan is stricter than the parser in all that could make them see different tags.
class Scanner {
public:
    explicit Scanner(std::string_view xml)
        : _xml(xml) {}

    // Null, or the reason to refuse the text.
    char const* scan(std::size_t pos) {
        char const* reason = nullptr;
        while (reason == nullptr && (pos = _xml.find('<', pos)) != npos) {
            reason = scan_markup(pos);
        }
        return reason;
    }

private:
    // Moves pos behind the markup that starts there.
    char const* scan_markup(std::size_t& pos) {
        if (_xml.substr(pos).starts_with("<!--")) {
            pos = skip_past(_xml, pos + 4, "-->");
            return pos == npos ? "comment without an end" : nullptr;
        }
        if (_xml.substr(pos).starts_with("<!") || _xml.substr(pos).starts_with("<?")) {
            return "declarations are not supported";
        }
        return scan_tag(pos);
    }

    char const* scan_tag(std::size_t& pos) {
        bool const close_flag = _xml.substr(pos).starts_with("</");
        char quote = '\0';
        int nbr_attr = 0;
        for (++pos; pos < _xml.size(); ++pos) {
            char const c = _xml[pos];
            if (c == '<') {
                return "\"<\" in a tag";
            }
            if (quote != '\0') {
                quote = c == quote ? '\0' : quote;
            } else if (c == '"' || c == '\'') {
                quote = c;
            } else if (c == '=') {
                ++nbr_attr;
            } else if (c == '>') {
                break;
            }
        }
        if (pos == _xml.size()) {
            return "tag without an end";
        }
        bool const empty_flag = _xml[pos - 1] == '/';
        _depth += close_flag ? -1 : empty_flag ? 0 : 1;
        ++pos;
        if (nbr_attr > XmlMarkup::max_nbr_attr) {
            return "too many attributes";
        }
        return _depth > XmlMarkup::max_depth ? "nested too deep"
               : _depth < 0                  ? "end of an element that was not begun"
                                             : nullptr;
    }

    std::string_view _xml;
    int _depth = 0;
};

} // namespace

int XmlMarkup::check(std::size_t& beg, std::string& reason, std::string const& xml) {
    if (xml.find('\0') != npos || txt::utf8::Codec8::check_string_valid(xml) != 0) {
        reason = "no valid UTF-8 text";
        return ace::Err_INVALID_UTF8;
    }
    beg = xml.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    if (auto const decl = xml.find_first_not_of(" \t\r\n", beg);
        decl != npos && std::string_view(xml).substr(decl).starts_with("<?")) {
        beg = skip_past(xml, decl, "?>");
    }
    char const* const problem = beg == npos ? "declaration without an end" : Scanner(xml).scan(beg);
    if (problem != nullptr) {
        reason = problem;
        return ace::Err_INVALID_FORMAT;
    }
    return ace::Err_OK;
}

int XmlMarkup::check_texts(TiXmlElement const& elt) {
    for (auto* attr = elt.FirstAttribute(); attr != nullptr; attr = attr->Next()) {
        if (int const ret = DescXmlTxt::check_txt(attr->ValueStr()); ret != ace::Err_OK) {
            ULK_LOG(ERROR, "DescXml: Text that XML can't hold in %1% tag.", elt.Value());
            return ret;
        }
    }
    int ret = ace::Err_OK;
    for (auto* child = elt.FirstChildElement(); child != nullptr && ret == ace::Err_OK;
         child = child->NextSiblingElement()) {
        ret = check_texts(*child);
    }
    return ret;
}

} // namespace ulk::prout
