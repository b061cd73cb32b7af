#include "ulk/util/BinaryStreamOutput.h"

#include <algorithm>
#include <stdexcept>

namespace ulk::util {

namespace {

unsigned long sum(unsigned long pos, unsigned long size) {
    if (pos + size < pos) {
        throw std::length_error("ulk::util::BinaryStreamOutput: Size out of range.");
    }
    return pos + size;
}

} // namespace

archi::UByte const* BinaryStreamOutput::do_data() const {
    return _data.empty() ? nullptr : _data.data();
}

unsigned long BinaryStreamOutput::do_size() const {
    return _data.size();
}

bool BinaryStreamOutput::do_empty() const {
    return _data.empty();
}

void BinaryStreamOutput::do_clear() {
    _data.clear();
}

archi::UByte* BinaryStreamOutput::do_resize_of(unsigned long size) {
    unsigned long const pos = _data.size();
    _data.resize(sum(pos, size));
    return _data.data() + pos;
}

archi::UByte* BinaryStreamOutput::do_resize_max_of(unsigned long pos, unsigned long size) {
    _data.resize(std::max(_data.size(), sum(pos, size)));
    return _data.data() + pos;
}

void BinaryStreamOutput::do_resize_write_bytes(archi::UByte const* data, unsigned long size) {
    _data.insert(_data.end(), data, data + size);
}

void BinaryStreamOutput::do_write_front_bytes(archi::UByte const* data, unsigned long size) {
    _data.insert(_data.begin(), data, data + size);
}

} // namespace ulk::util
