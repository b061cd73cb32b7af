#pragma once

#include "ulk/mem/SharedPtr.h"
#include "ulk/prout/DescInterface.h"
#include "ulk/prout/DescPinConf.h"

#include <cstddef>
#include <vector>

namespace ulk::prout {

// The pin configurations that a plug-in declares.
class DescPinConfList : public DescInterface {
public:
    void add_conf(mem::SharedPtr<DescPinConf> conf) { _conf_list.push_back(conf); }
    // Masks: see DescPinConf. name: null for none. Returns the index.
    int add_conf(unsigned long long chn_in, unsigned long long chn_out, int data_in, int data_out,
                 char const* name);
    // Puts an empty configuration at index (0 or more), growing the list with null slots to reach
    // it. 0, or -14497 with a log line when the slot is filled.
    int create_conf(int index);

    // index is not tested. A null slot shows as an empty configuration; the first form fills it.
    DescPinConf& use_conf(int index);
    DescPinConf const& use_conf(int index) const;
    int get_nbr_conf() const { return static_cast<int>(_conf_list.size()); }
    void set_default_conf(int index) { _def_conf = index; } // negative for none
    int get_default_conf() const { return _def_conf; }
    bool has_default_conf() const { return _def_conf >= 0; }
    void clear();

protected:
    unsigned int do_atom() const override;
    int do_write(util::BinaryStreamOutputBase& out) const override;
    // Always 0: a reader goes on behind what could be read, and keeps it.
    int do_read(util::BinaryStreamInput& in) override;

private:
    int _def_conf = -1;
    std::vector<mem::SharedPtr<DescPinConf>> _conf_list;
};

} // namespace ulk::prout
