#pragma once

#include "ulk/prout/DescInterface.h"

#include <map>
#include <string>

namespace ulk::prout {

class XmlTagAccess;

// Properties of a component: texts by key. The keys are in kryn.
class DescProperties : public DescInterface {
public:
    void set_property(std::string key, std::string val); // inserts or replaces
    bool has_prop(std::string key) const;
    std::string const& get_prop(std::string key) const; // the key must exist
    // txt: room for max_len bytes and a terminator; a longer value is cut. False, and txt
    // untouched, when there is no such key.
    bool get_prop(std::string key, char* txt, long max_len) const;
    // The property exists and is exactly "1".
    bool test_flag(std::string key) const;
    std::map<std::string, std::string>& use_prop_map() { return _prop_map; }
    std::map<std::string, std::string> const& use_prop_map() const { return _prop_map; }
    void clear() { _prop_map.clear(); }

    // Adds the property elements right below the current node to prop_map; later ones replace
    // earlier ones. 0, or -14491 with a log line for an element without a name, without a value or
    // with an empty name; those before it are then in prop_map. The current node stays.
    static int collect_prop(std::map<std::string, std::string>& prop_map, XmlTagAccess& xml);
    // Adds a property element below the current node, which stays.
    static void serialize_prop(XmlTagAccess& xml, std::string const& name, std::string const& val);

protected:
    unsigned int do_atom() const override;
    int do_write(util::BinaryStreamOutputBase& out) const override;
    int do_read(util::BinaryStreamInput& in) override;

private:
    std::map<std::string, std::string> _prop_map;
};

} // namespace ulk::prout
