#include "ulk/prout/DescParamList.h"

#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/prout/DescRead.h"
#include "ulk/udbg/log.h"

namespace ulk::prout {

namespace {

constexpr archi::UInt32 current_version = 1;

} // namespace

void DescParamList::set_nbr_param(kryn::ParamScope scope, int nbr_param) {
    auto& list = _scope_arr[scope];
    auto const old_size = list.size();
    list.resize(static_cast<std::size_t>(nbr_param));
    for (auto pos = old_size; pos < list.size(); ++pos) {
        list[pos] = mem::SharedPtr<DescParam>::make();
    }
}

void DescParamList::clear() {
    for (auto& list : _scope_arr) {
        list.clear();
    }
}

unsigned int DescParamList::do_atom() const {
    return kryn::PluginDsp::atom_param_list;
}

int DescParamList::do_write(util::BinaryStreamOutputBase& out) const {
    out.write(current_version);
    for (auto const& list : _scope_arr) {
        out.write(list.begin(), list.end());
    }
    return ace::Err_OK;
}

int DescParamList::do_read(util::BinaryStreamInput& in) {
    clear();
    archi::UInt32 version = 0;
    if (in.read(version, "DescParamList: Error while reading version") != 0) {
        return ace::Err_DATA_CORRUPTED;
    }
    if (version != current_version) {
        ULK_LOG(ERROR, "DescParamList: version %1% not supported", version);
        return ace::Err_NOT_SUPPORTED;
    }
    int ret = ace::Err_OK;
    for (int scope = 0; scope < kryn::ParamScope_NBR_ELT && ret == ace::Err_OK; ++scope) {
        ret = read_scope(in, static_cast<kryn::ParamScope>(scope));
    }
    return ret;
}

int DescParamList::read_scope(util::BinaryStreamInput& in, kryn::ParamScope scope) {
    static char const err[] = "DescParamList: Error while reading param scope size";
    std::size_t nbr_param = 0;
    if (DescRead::read_count(in, nbr_param, DescParam::min_len, err) != 0) {
        return ace::Err_DATA_CORRUPTED;
    }
    set_nbr_param(scope, static_cast<int>(nbr_param));
    for (auto const& param : _scope_arr[scope]) {
        if (int const ret = in.read(*param, err); ret != 0) {
            return ret;
        }
    }
    return ace::Err_OK;
}

} // namespace ulk::prout
