#include "ulk/ace/Err.h"
#include "ulk/kryn/Component.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/XmlTagAccess.h"
#include "ulk/udbg/log.h"

#include <tinyxml.h>

namespace ulk::prout {

using kryn::Component;

namespace {

int read_prop(std::map<std::string, std::string>& prop_map, XmlTagAccess const& xml) {
    std::string name;
    std::string val;
    if (!xml.get_val(Component::xml_property_name, name) ||
        !xml.get_val(Component::xml_property_val, val)) {
        ULK_LOG(ERROR, "collect_prop(): Missing property in %1% tag.", xml.use_node().Value());
        return ace::Err_INVALID_FORMAT;
    }
    if (name.empty()) {
        ULK_LOG(ERROR, "collect_prop(): Property name is empty.");
        return ace::Err_INVALID_FORMAT;
    }
    prop_map[name] = val;
    return ace::Err_OK;
}

} // namespace

int DescProperties::collect_prop(std::map<std::string, std::string>& prop_map, XmlTagAccess& xml) {
    std::vector<TiXmlNode*> list;
    xml.list_elt(list, Component::xml_property);
    for (TiXmlNode* node : list) {
        xml.push_state();
        xml.go_to(*node);
        int const ret = read_prop(prop_map, xml);
        xml.pop_state();
        if (ret != ace::Err_OK) {
            return ret;
        }
    }
    return ace::Err_OK;
}

void DescProperties::serialize_prop(XmlTagAccess& xml, std::string const& name,
                                    std::string const& val) {
    xml.push_state();
    xml.add_child_node_and_go_to(Component::xml_property);
    xml.set_val(Component::xml_property_name, name);
    xml.set_val(Component::xml_property_val, val);
    xml.pop_state();
}

} // namespace ulk::prout
