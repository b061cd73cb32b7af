#include "ulk/prout/XmlTagAccess.h"

#include "ulk/txt/out/PrintNa.h"
#include "ulk/txt/utf8/ConvNum.h"

#include <tinyxml.h>

#include <charconv>

namespace ulk::prout {

namespace {

template <class T>
std::string print_number(T val) {
    constexpr long max_len = 255;
    char txt[max_len + 1];
    txt::out::PrintNa(txt, max_len).print("%1%").arg(val);
    return txt;
}

} // namespace

char const XmlTagAccess::_delim[] = "/";

XmlTagAccess::XmlTagAccess(TiXmlNode& node)
    : _node(&node) {}

XmlTagAccess::XmlTagAccess(TiXmlNode const& node)
    : _node(const_cast<TiXmlNode*>(&node)) {}

void XmlTagAccess::pop_state() {
    _node = _state_stack.back();
    _state_stack.pop_back();
}

bool XmlTagAccess::go_to(std::string const& path, bool create) {
    TiXmlNode* const node = go_to(split(path), create ? CrMode_MISSING : CrMode_NONE);
    if (node == nullptr) {
        return false;
    }
    _node = node;
    return true;
}

bool XmlTagAccess::add_child_node_and_go_to(std::string const& path) {
    TiXmlNode* const node = go_to(split(path), CrMode_LAST);
    if (node == nullptr) {
        return false;
    }
    _node = node;
    return true;
}

TiXmlNode* XmlTagAccess::go_to(std::vector<std::string> const& path, CrMode mode) const {
    TiXmlNode* node = _node;
    for (std::size_t pos = 0; pos < path.size() && node != nullptr; ++pos) {
        if (path[pos] == "..") {
            node = node->Parent();
        } else {
            bool const last_flag = pos + 1 == path.size();
            node = go_to_child(*node, path[pos], mode != CrMode_NONE,
                               mode == CrMode_LAST && last_flag);
        }
    }
    return node;
}

void XmlTagAccess::list_elt(std::vector<TiXmlNode*>& list, char const* name) const {
    list.clear();
    bool const all_flag = *name == '\0';
    TiXmlElement* elt = all_flag ? _node->FirstChildElement() : _node->FirstChildElement(name);
    while (elt != nullptr) {
        list.push_back(elt);
        elt = all_flag ? elt->NextSiblingElement() : elt->NextSiblingElement(name);
    }
}

void XmlTagAccess::list_attrib(std::vector<std::string>& list) const {
    list.clear();
    if (TiXmlElement const* const elt = _node->ToElement(); elt != nullptr) {
        for (auto const* attr = elt->FirstAttribute(); attr != nullptr; attr = attr->Next()) {
            list.push_back(attr->Name());
        }
    }
}

bool XmlTagAccess::set_val(std::string const& path, std::string const& val) {
    TiXmlElement* elt = nullptr;
    std::string attrib;
    if (!go_to_attribute(elt, attrib, path, true)) {
        return false;
    }
    elt->SetAttribute(attrib, val);
    return true;
}

bool XmlTagAccess::set_val(std::string const& path, double val) {
    return set_val(path, print_number(val));
}

bool XmlTagAccess::set_val(std::string const& path, long long val) {
    return set_val(path, print_number(val));
}

bool XmlTagAccess::get_val(std::string const& path, std::string& val) const {
    TiXmlElement* elt = nullptr;
    std::string attrib;
    if (!go_to_attribute(elt, attrib, path, false)) {
        return false;
    }
    std::string const* const txt = elt->Attribute(attrib);
    if (txt == nullptr) {
        return false;
    }
    val = *txt;
    return true;
}

bool XmlTagAccess::get_val(std::string const& path, double& val) const {
    std::string txt;
    if (!get_val(path, txt)) {
        return false;
    }
    std::size_t pos = std::min(txt.find_first_not_of(" \t\n\v\f\r"), txt.size());
    if (txt.compare(pos, 1, "+") == 0 && txt.compare(pos, 2, "+-") != 0) {
        ++pos;
    }
    double num = 0; // no strtod, which follows the locale
    if (std::from_chars(txt.data() + pos, txt.data() + txt.size(), num).ec != std::errc()) {
        return false;
    }
    val = num;
    return true;
}

bool XmlTagAccess::get_val(std::string const& path, long long& val) const {
    std::string txt;
    long long num = 0;
    long stop_pos = 0;
    if (!get_val(path, txt) ||
        txt::utf8::ConvNum::conv_str_to_int64(num, txt.c_str(), 10, &stop_pos) != 0) {
        return false;
    }
    val = num;
    return true;
}

bool XmlTagAccess::go_to_attribute(TiXmlElement*& elt, std::string& attrib, std::string const& path,
                                   bool create) const {
    std::vector<std::string> name_list = split(path);
    if (name_list.empty()) {
        return false;
    }
    attrib = name_list.back();
    name_list.pop_back();
    TiXmlNode* const node = go_to(name_list, create ? CrMode_MISSING : CrMode_NONE);
    elt = node == nullptr ? nullptr : node->ToElement();
    return elt != nullptr;
}

std::vector<std::string> XmlTagAccess::split(std::string const& path) {
    std::vector<std::string> list;
    std::size_t beg = 0;
    for (std::size_t end = 0; (end = path.find(_delim, beg)) != std::string::npos; beg = end + 1) {
        list.push_back(path.substr(beg, end - beg));
    }
    list.push_back(path.substr(beg));
    remove_empty_elt(list);
    return list;
}

void XmlTagAccess::remove_empty_elt(std::vector<std::string>& list) {
    std::erase(list, std::string());
}

TiXmlNode* XmlTagAccess::go_to_child(TiXmlNode& node, std::string const& name, bool create,
                                     bool always_new) {
    TiXmlNode* const child = node.FirstChildElement(name);
    return always_new || (create && child == nullptr) ? node.LinkEndChild(new TiXmlElement(name))
                                                      : child;
}

} // namespace ulk::prout
