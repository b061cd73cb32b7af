#include "ulk/prout/DescProperties.h"

#include "ulk/ace/Err.h"
#include "ulk/kryn/Component.h"
#include "ulk/prout/DescRead.h"

#include <algorithm>

namespace ulk::prout {

void DescProperties::set_property(std::string key, std::string val) {
    _prop_map[std::move(key)] = std::move(val);
}

bool DescProperties::has_prop(std::string key) const {
    return _prop_map.contains(key);
}

std::string const& DescProperties::get_prop(std::string key) const {
    return _prop_map.at(key);
}

bool DescProperties::get_prop(std::string key, char* txt, long max_len) const {
    auto const pos = _prop_map.find(key);
    if (pos == _prop_map.end()) {
        return false;
    }
    auto const len = pos->second.copy(txt, static_cast<std::size_t>(std::max(max_len, 0L)));
    txt[len] = '\0';
    return true;
}

bool DescProperties::test_flag(std::string key) const {
    auto const pos = _prop_map.find(key);
    return pos != _prop_map.end() && pos->second == "1";
}

unsigned int DescProperties::do_atom() const {
    return kryn::Component::atom_properties;
}

int DescProperties::do_write(util::BinaryStreamOutputBase& out) const {
    out.write(_prop_map.begin(), _prop_map.end());
    return ace::Err_OK;
}

int DescProperties::do_read(util::BinaryStreamInput& in) {
    return DescRead::read_map(in, _prop_map, "DescProperties: Error while reading _prop_map") == 0
               ? ace::Err_OK
               : ace::Err_DATA_CORRUPTED;
}

} // namespace ulk::prout
