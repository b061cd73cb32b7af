#pragma once

#include "ulk/kryn/PluginFactory.h"
#include "ulk/prout/DescInterface.h"

#include <string>
#include <vector>

namespace ulk::prout {

// The plug-ins that a factory offers. Indices are not tested.
class DescPluginList : public DescInterface {
public:
    class PlugInfo {
    public:
        void write(util::BinaryStreamOutputBase& out) const;
        int read(util::BinaryStreamInput& in); // 0 or -14497

        // Bytes of the binary form with empty texts and no link.
        static constexpr unsigned long min_len = 3 * 4;

        std::string _unique_id;
        int _type = 0;                         // PluginType
        std::vector<std::string> _ref_id_list; // identifiers of linked plug-ins
    };

    // Appends an entry, unless it is there. 0, or -14478 with a log line when id is there with
    // another type.
    int add_plugin(kryn::PluginFactory::PluginType type, std::string const& id);
    // Links id with linked_id, unless it is. 0, or -14498 with a log line when id is not there.
    int add_link(std::string const& id, std::string const& linked_id);
    // Adds all entries and links of other; stops at the first failure and returns its code.
    int merge_list(DescPluginList const& other);
    // The type that the XML form writes as txt, or -1.
    static int find_plug_type(char const* txt);

    int get_nbr_plugins() const { return static_cast<int>(_plug_info_list.size()); }
    std::string const& get_plug_id(int index) const { return use_info(index)._unique_id; }
    kryn::PluginFactory::PluginType get_plug_type(int index) const;
    int get_nbr_links(int index) const;
    std::string const& get_linked_id(int index, int link) const;
    // All entries as they stand, for readers and writers of other forms.
    std::vector<PlugInfo>& use_plug_info_list() { return _plug_info_list; }
    void clear() { _plug_info_list.clear(); }

protected:
    unsigned int do_atom() const override;
    int do_write(util::BinaryStreamOutputBase& out) const override;
    int do_read(util::BinaryStreamInput& in) override;

private:
    PlugInfo const& use_info(int index) const {
        return _plug_info_list[static_cast<std::size_t>(index)];
    }
    PlugInfo* find(std::string const& id);

    std::vector<PlugInfo> _plug_info_list;
};

} // namespace ulk::prout
