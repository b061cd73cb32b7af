#include "ulk/util/BinaryStreamOutputBase.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace ulk::util {

namespace {

// Stores an integer from its high byte down.
template <class T>
void store(archi::UByte* dst, T value) {
    for (int shift = 8 * (static_cast<int>(sizeof(T)) - 1); shift >= 0; shift -= 8) {
        *dst++ = static_cast<archi::UByte>(value >> shift);
    }
}

archi::UInt32 conv_ptr(void const* ptr) {
    return static_cast<archi::UInt32>(reinterpret_cast<std::uintptr_t>(ptr));
}

} // namespace

void BinaryStreamOutputBase::write(bool value) {
    write(static_cast<archi::UByte>(value));
}

void BinaryStreamOutputBase::write(archi::UByte value) {
    store(do_resize_of(sizeof(value)), value);
}

void BinaryStreamOutputBase::write(archi::UInt16 value) {
    store(do_resize_of(sizeof(value)), value);
}

void BinaryStreamOutputBase::write(archi::UInt32 value) {
    store(do_resize_of(sizeof(value)), value);
}

void BinaryStreamOutputBase::write(archi::SByte value) {
    write(static_cast<archi::UByte>(value));
}

void BinaryStreamOutputBase::write(archi::Int16 value) {
    write(static_cast<archi::UInt16>(value));
}

void BinaryStreamOutputBase::write(archi::Int32 value) {
    write(static_cast<archi::UInt32>(value));
}

void BinaryStreamOutputBase::write(unsigned long long value) {
    write(static_cast<archi::UInt32>(value >> 32));
    write(static_cast<archi::UInt32>(value));
}

void BinaryStreamOutputBase::write(long long value) {
    write(static_cast<unsigned long long>(value));
}

void BinaryStreamOutputBase::write(float value) {
    write(std::bit_cast<archi::UInt32>(value));
}

void BinaryStreamOutputBase::write(double value) {
    write(std::bit_cast<unsigned long long>(value));
}

void BinaryStreamOutputBase::write(void* value) {
    write(conv_ptr(value));
}

void BinaryStreamOutputBase::write(void const* value) {
    write(conv_ptr(value));
}

void BinaryStreamOutputBase::write(std::string const& value) {
    write(static_cast<archi::UInt32>(value.size()));
    do_resize_write_bytes(reinterpret_cast<archi::UByte const*>(value.data()), value.size());
}

void BinaryStreamOutputBase::write_front(archi::UByte const* data, unsigned long size) {
    do_write_front_bytes(data, size);
}

void BinaryStreamOutputBase::overwrite(bool value, unsigned long pos) {
    overwrite(static_cast<archi::UByte>(value), pos);
}

void BinaryStreamOutputBase::overwrite(archi::UByte value, unsigned long pos) {
    store(do_resize_max_of(pos, sizeof(value)), value);
}

void BinaryStreamOutputBase::overwrite(archi::UInt16 value, unsigned long pos) {
    store(do_resize_max_of(pos, sizeof(value)), value);
}

void BinaryStreamOutputBase::overwrite(archi::UInt32 value, unsigned long pos) {
    store(do_resize_max_of(pos, sizeof(value)), value);
}

void BinaryStreamOutputBase::overwrite(archi::SByte value, unsigned long pos) {
    overwrite(static_cast<archi::UByte>(value), pos);
}

void BinaryStreamOutputBase::overwrite(archi::Int16 value, unsigned long pos) {
    overwrite(static_cast<archi::UInt16>(value), pos);
}

void BinaryStreamOutputBase::overwrite(archi::Int32 value, unsigned long pos) {
    overwrite(static_cast<archi::UInt32>(value), pos);
}

void BinaryStreamOutputBase::overwrite(unsigned long long value, unsigned long pos) {
    overwrite(static_cast<archi::UInt32>(value >> 32), pos);
    overwrite(static_cast<archi::UInt32>(value), pos + 4);
}

void BinaryStreamOutputBase::overwrite(long long value, unsigned long pos) {
    overwrite(static_cast<unsigned long long>(value), pos);
}

void BinaryStreamOutputBase::overwrite(float value, unsigned long pos) {
    overwrite(std::bit_cast<archi::UInt32>(value), pos);
}

void BinaryStreamOutputBase::overwrite(double value, unsigned long pos) {
    overwrite(std::bit_cast<unsigned long long>(value), pos);
}

void BinaryStreamOutputBase::overwrite(void* value, unsigned long pos) {
    overwrite(conv_ptr(value), pos);
}

void BinaryStreamOutputBase::overwrite(void const* value, unsigned long pos) {
    overwrite(conv_ptr(value), pos);
}

void BinaryStreamOutputBase::overwrite(archi::UByte const* data, unsigned long size,
                                       unsigned long pos) {
    std::copy_n(data, size, do_resize_max_of(pos, size));
}

} // namespace ulk::util
