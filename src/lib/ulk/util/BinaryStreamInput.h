#pragma once

#include "ulk/archi/types.h"

#include <map>
#include <string>
#include <vector>

namespace ulk::util {

// Reads the serial form that BinaryStreamOutputBase writes, from a block of memory that it does not
// own and that must outlive it. Integers are big-endian; 64-bit values are two 32-bit words, the
// high one first; floats are their IEEE 754 bits; a bool is one byte, a pointer four; strings and
// sequences begin with their 32-bit count.
//
// Operations that give an int give 0, or Err_OUT_OF_STREAM for reading or moving outside of the
// block. `err` says what was being read, as in "Date: Error while reading _year": it is logged on
// failure, unless it is null. A failed read leaves position and value as they were, but for values
// made of several: what came before is read. Nothing but an allocation throws. Belongs to one
// thread.
class BinaryStreamInput {
public:
    enum : int { Err_OUT_OF_STREAM = -3994 };

    BinaryStreamInput() = default; // empty
    BinaryStreamInput(archi::UByte const* data, unsigned long size);
    BinaryStreamInput(std::vector<archi::UByte> const& data);
    BinaryStreamInput(BinaryStreamInput const& other); // over the same block, from its start
    BinaryStreamInput& operator=(BinaryStreamInput const& other);

    archi::UByte const* data() const; // the byte at the position
    unsigned long size() const;       // bytes left
    bool empty() const;
    unsigned long tell() const;

    // A failed move ends at the nearest bound.
    int seek_beg(unsigned long pos, char const* err);
    int seek_end(unsigned long pos, char const* err); // pos back from the end
    int advance(long delta, char const* err);

    int read(bool& value, char const* err); // any byte but 0 is true
    int read(archi::UByte& value, char const* err);
    int read(archi::SByte& value, char const* err);
    int read(archi::UInt16& value, char const* err);
    int read(archi::Int16& value, char const* err);
    int read(archi::UInt32& value, char const* err);
    int read(archi::Int32& value, char const* err);
    int read(unsigned long long& value, char const* err); // can fail between its words
    int read(long long& value, char const* err);          // likewise
    int read(float& value, char const* err);
    int read(double& value, char const* err); // likewise
    int read(void*& value, char const* err);
    int read(void const*& value, char const* err);
    int read(std::string& value, char const* err); // a failure may have consumed the length

    // Any class with int read(BinaryStreamInput&).
    template <class T>
    int read(T& value, char const* err);

    // The next size bytes in place, without a copy. ptr is null on failure.
    int read(archi::UByte const*& ptr, unsigned long size, char const* err);

    // Appends to list. A count above the bytes left fails before anything is made; after a later
    // failure the elements not reached have their default value.
    template <class T>
    int read(std::vector<T>& list, char const* err);

    // Inserts in map; keys that it holds keep their values.
    template <class K, class V>
    int read(std::map<K, V>& map, char const* err);

private:
    template <class T>
    bool take(T& value);
    template <class T>
    int read_words(T& value, char const* err);
    template <class T>
    int read_ptr(T*& value, char const* err);

    static int report_outside(char const* err, char const* function, long line);
    static void report(char const* err, char const* function, long line);

    archi::UByte const* _data_ptr = nullptr;
    unsigned long _size = 0;
    unsigned long _pos = 0;
};

} // namespace ulk::util

#include "ulk/util/BinaryStreamInput.hpp"
