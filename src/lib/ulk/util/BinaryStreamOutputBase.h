#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"

#include <string>
#include <utility>

namespace ulk::util {

// Writes the serial form that BinaryStreamInput reads. Nothing fails but the allocation of memory,
// which throws std::bad_alloc or std::length_error. Belongs to one thread.
class BinaryStreamOutputBase {
public:
    virtual ~BinaryStreamOutputBase() = default;

    archi::UByte const* data() const { return do_data(); } // null when empty
    unsigned long size() const { return do_size(); }
    bool empty() const { return do_empty(); }
    void clear() { do_clear(); }

    // Appends.
    void write(bool value);
    void write(archi::UByte value);
    void write(archi::SByte value);
    void write(archi::UInt16 value);
    void write(archi::Int16 value);
    void write(archi::UInt32 value);
    void write(archi::Int32 value);
    void write(unsigned long long value);
    void write(long long value);
    void write(float value);
    void write(double value);
    void write(void* value); // its low four bytes
    void write(void const* value);
    void write(std::string const& value);
    void write(char const* value) { write(std::string(value)); } // not as a pointer

    // Raw bytes without a count, which don't lie in this stream: at the end, at the very start.
    void write(archi::UByte const* data, unsigned long size) { do_resize_write_bytes(data, size); }
    void write_front(archi::UByte const* data, unsigned long size);

    // The count of a range and its elements: values of the types above, objects with
    // void write(BinaryStreamOutputBase&) const, shared pointers to such, or pairs of all these.
    template <class IT>
    void write(IT first, IT last);

    // Replaces what stands at position pos, and grows the stream with zero bytes to reach it.
    void overwrite(bool value, unsigned long pos);
    void overwrite(archi::UByte value, unsigned long pos);
    void overwrite(archi::SByte value, unsigned long pos);
    void overwrite(archi::UInt16 value, unsigned long pos);
    void overwrite(archi::Int16 value, unsigned long pos);
    void overwrite(archi::UInt32 value, unsigned long pos);
    void overwrite(archi::Int32 value, unsigned long pos);
    void overwrite(unsigned long long value, unsigned long pos);
    void overwrite(long long value, unsigned long pos);
    void overwrite(float value, unsigned long pos);
    void overwrite(double value, unsigned long pos);
    void overwrite(void* value, unsigned long pos);
    void overwrite(void const* value, unsigned long pos);
    void overwrite(archi::UByte const* data, unsigned long size, unsigned long pos);

protected:
    virtual archi::UByte const* do_data() const = 0;
    virtual unsigned long do_size() const = 0;
    virtual bool do_empty() const = 0;
    virtual void do_clear() = 0;
    // Grows by size zero bytes and gives the first of them. The pointers given here are good until
    // the next call.
    virtual archi::UByte* do_resize_of(unsigned long size) = 0;
    // Grows to pos + size bytes at least and gives the byte at pos.
    virtual archi::UByte* do_resize_max_of(unsigned long pos, unsigned long size) = 0;
    virtual void do_resize_write_bytes(archi::UByte const* data, unsigned long size) = 0;
    virtual void do_write_front_bytes(archi::UByte const* data, unsigned long size) = 0;

private:
    template <class T>
    void write_elt(T const& elt);
    template <class T>
    void write_elt(mem::SharedPtr<T> const& elt);
    template <class K, class V>
    void write_elt(std::pair<K, V> const& elt);
};

} // namespace ulk::util

#include "ulk/util/BinaryStreamOutputBase.hpp"
