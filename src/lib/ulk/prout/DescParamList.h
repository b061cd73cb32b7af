#pragma once

#include "ulk/kryn/ParamScope.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/prout/DescInterface.h"
#include "ulk/prout/DescParam.h"

#include <cstddef>
#include <vector>

namespace ulk::prout {

// Parameters of a plug-in, by scope and index.
class DescParamList : public DescInterface {
public:
    // scope and index are not tested.
    DescParam& use_param(kryn::ParamScope scope, int index) {
        return *_scope_arr[scope][static_cast<std::size_t>(index)];
    }
    DescParam const& use_param(kryn::ParamScope scope, int index) const {
        return *_scope_arr[scope][static_cast<std::size_t>(index)];
    }
    int get_nbr_param(kryn::ParamScope scope) const {
        return static_cast<int>(_scope_arr[scope].size());
    }
    // Grows with parameters of default state, or shrinks.
    void set_nbr_param(kryn::ParamScope scope, int nbr_param);
    void clear();

protected:
    unsigned int do_atom() const override;
    int do_write(util::BinaryStreamOutputBase& out) const override;
    int do_read(util::BinaryStreamInput& in) override;

private:
    int read_scope(util::BinaryStreamInput& in, kryn::ParamScope scope);

    std::vector<mem::SharedPtr<DescParam>> _scope_arr[kryn::ParamScope_NBR_ELT];
};

} // namespace ulk::prout
