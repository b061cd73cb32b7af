#include "ulk/prout/DescPinConfList.h"

#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/prout/DescRead.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <cassert>

namespace ulk::prout {

int DescPinConfList::add_conf(unsigned long long chn_in, unsigned long long chn_out, int data_in,
                              int data_out, char const* name) {
    auto const conf = mem::SharedPtr<DescPinConf>::make();
    if (name != nullptr) {
        conf->set_name(name);
    }
    conf->set_pins(chn_in, chn_out, data_in, data_out);
    add_conf(conf);
    return get_nbr_conf() - 1;
}

int DescPinConfList::create_conf(int index) {
    assert(index >= 0);
    auto const pos = static_cast<std::size_t>(index);
    if (pos >= _conf_list.size()) {
        _conf_list.resize(pos + 1);
    }
    if (_conf_list[pos].get() != nullptr) {
        ULK_LOG(ERROR, "create_conf(): Config # %1% already exists.", index);
        return ace::Err_DATA_CORRUPTED;
    }
    _conf_list[pos] = mem::SharedPtr<DescPinConf>::make();
    return ace::Err_OK;
}

DescPinConf& DescPinConfList::use_conf(int index) {
    auto& conf = _conf_list[static_cast<std::size_t>(index)];
    if (conf.get() == nullptr) {
        conf = mem::SharedPtr<DescPinConf>::make();
    }
    return *conf;
}

DescPinConf const& DescPinConfList::use_conf(int index) const {
    static DescPinConf const empty_conf;
    auto const& conf = _conf_list[static_cast<std::size_t>(index)];
    return conf.get() == nullptr ? empty_conf : *conf;
}

void DescPinConfList::clear() {
    _def_conf = -1;
    _conf_list.clear();
}

unsigned int DescPinConfList::do_atom() const {
    return kryn::PluginDsp::atom_pin_conf_list;
}

int DescPinConfList::do_write(util::BinaryStreamOutputBase& out) const {
    out.write(std::max(_def_conf, -1));
    out.write(static_cast<archi::UInt32>(_conf_list.size()));
    for (int index = 0; index < get_nbr_conf(); ++index) {
        use_conf(index).write(out);
    }
    return ace::Err_OK;
}

int DescPinConfList::do_read(util::BinaryStreamInput& in) {
    static char const err_size[] = "DescPinConfList: Error while reading size";
    clear();
    std::size_t nbr_conf = 0;
    int ret = in.read(_def_conf, "DescPinConfList: Error while reading _def_conf");
    if (ret == 0) {
        ret = DescRead::read_count(in, nbr_conf, DescPinConf::min_len, err_size);
    }
    for (; nbr_conf > 0 && ret == 0; --nbr_conf) {
        auto const conf = mem::SharedPtr<DescPinConf>::make();
        add_conf(conf);
        ret = in.read(*conf, err_size);
    }
    return ace::Err_OK;
}

} // namespace ulk::prout
