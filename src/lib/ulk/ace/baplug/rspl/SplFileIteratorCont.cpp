#include "ulk/ace/baplug/rspl/SplFileIteratorCont.h"

namespace ulk::ace::baplug::rspl {

SplFileIteratorCont::SplFileIteratorCont(sacc::SplCacheIteratorRead& it)
    : SplFileIteratorCont(it, it.get_frame_pos(), it.get_frame_len()) {}

SplFileIteratorCont::SplFileIteratorCont(sacc::SplCacheIteratorRead& it, archi::Int64 start,
                                         long len)
    : _it_ptr(&it)
    , _start(start)
    , _len(len) {
    setup_new_block();
}

void SplFileIteratorCont::iterate() {
    if (_cached_flag) {
        _it_ptr->iterate();
    }
    _block_pos += _block_len;
    setup_new_block();
}

void SplFileIteratorCont::setup_new_block() {
    _cached_flag = false;
    if (!_it_ptr->is_rem_elt()) {
        _block_len = _len - _block_pos;
        return;
    }
    archi::Int64 const hole_len = _it_ptr->get_data_pos_file() - get_block_pos_in_file();
    _cached_flag = hole_len == 0;
    _block_len = _cached_flag ? _it_ptr->get_data_len() : static_cast<long>(hole_len);
}

} // namespace ulk::ace::baplug::rspl
