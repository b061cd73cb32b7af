#include "ulk/prout/DescPluginList.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/DescRead.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <string_view>

namespace ulk::prout {

namespace {

constexpr unsigned long str_min_len = 4; // bytes of an empty text

} // namespace

void DescPluginList::PlugInfo::write(util::BinaryStreamOutputBase& out) const {
    out.write(_unique_id);
    out.write(_type);
    out.write(_ref_id_list.begin(), _ref_id_list.end());
}

int DescPluginList::PlugInfo::read(util::BinaryStreamInput& in) {
    bool const ok_flag =
        in.read(_unique_id, "DescPluginList: Error while reading _unique_id") == 0 &&
        in.read(_type, "DescPluginList: Error while reading _type") == 0 &&
        DescRead::read_list(in, _ref_id_list, str_min_len,
                            "DescPluginList: Error while reading _ref_id_list") == 0;
    return ok_flag ? ace::Err_OK : ace::Err_DATA_CORRUPTED;
}

int DescPluginList::add_plugin(kryn::PluginFactory::PluginType type, std::string const& id) {
    PlugInfo const* const info = find(id);
    if (info == nullptr) {
        _plug_info_list.push_back({id, type, {}});
    } else if (info->_type != type) {
        ULK_LOG(ERROR,
                "add_plugin (): Cannot add \"%1%\" plug-in of type %2% because it is already there "
                "with a different type (%3%).",
                id.c_str(), static_cast<int>(type), info->_type);
        return ace::Err_INVALID_ARGUMENT;
    }
    return ace::Err_OK;
}

int DescPluginList::add_link(std::string const& id, std::string const& linked_id) {
    PlugInfo* const info = find(id);
    if (info == nullptr) {
        ULK_LOG(ERROR, "add_link(): Cannot find plug-in \"%1%\" (to be linked with \"%2%\")",
                id.c_str(), linked_id.c_str());
        return ace::Err_NOT_FOUND;
    }
    auto& list = info->_ref_id_list;
    if (std::find(list.begin(), list.end(), linked_id) == list.end()) {
        list.push_back(linked_id);
    }
    return ace::Err_OK;
}

int DescPluginList::merge_list(DescPluginList const& other) {
    for (int index = 0; index < other.get_nbr_plugins(); ++index) {
        std::string const& id = other.get_plug_id(index);
        int ret = add_plugin(other.get_plug_type(index), id);
        for (int link = 0; link < other.get_nbr_links(index) && ret == ace::Err_OK; ++link) {
            ret = add_link(id, other.get_linked_id(index, link));
        }
        if (ret != ace::Err_OK) {
            return ret;
        }
    }
    return ace::Err_OK;
}

int DescPluginList::find_plug_type(char const* txt) {
    auto const& arr = kryn::PluginFactory::xml_plugin_type_content_arr;
    auto const pos = std::find(std::begin(arr), std::end(arr), std::string_view(txt));
    return pos == std::end(arr) ? -1 : static_cast<int>(pos - std::begin(arr));
}

kryn::PluginFactory::PluginType DescPluginList::get_plug_type(int index) const {
    return static_cast<kryn::PluginFactory::PluginType>(use_info(index)._type);
}

int DescPluginList::get_nbr_links(int index) const {
    return static_cast<int>(use_info(index)._ref_id_list.size());
}

std::string const& DescPluginList::get_linked_id(int index, int link) const {
    return use_info(index)._ref_id_list[static_cast<std::size_t>(link)];
}

unsigned int DescPluginList::do_atom() const {
    return kryn::PluginFactory::atom_plugin_list;
}

int DescPluginList::do_write(util::BinaryStreamOutputBase& out) const {
    out.write(_plug_info_list.begin(), _plug_info_list.end());
    return ace::Err_OK;
}

int DescPluginList::do_read(util::BinaryStreamInput& in) {
    int const ret = DescRead::read_list(in, _plug_info_list, PlugInfo::min_len,
                                        "DescPluginList: Error while reading _plug_info_list");
    return ret == 0 ? ace::Err_OK : ace::Err_DATA_CORRUPTED;
}

DescPluginList::PlugInfo* DescPluginList::find(std::string const& id) {
    auto const pos = std::find_if(_plug_info_list.begin(), _plug_info_list.end(),
                                  [&](PlugInfo const& info) { return info._unique_id == id; });
    return pos == _plug_info_list.end() ? nullptr : &*pos;
}

} // namespace ulk::prout
