#pragma once

#include "ulk/util/BinaryStreamInput.h"

#include <vector>

namespace ulk::prout {

class DescInterface;

// A description document: parts, which it does not own and which outlive it. After construction
// of its owner a document is only read, so conv_to_bin may run beside PROCESS; it allocates.
class DescMain {
public:
    // Appends a part, unless that very object is there already.
    void add_desc_part(DescInterface& part);
    // The first part with this atom, or null.
    DescInterface* find(unsigned int atom) const;
    // All parts, in the order of registration, which is the order in the binary form.
    std::vector<DescInterface*> const& use_part_list() const { return _part_list; }

    // Binary form, big-endian: u32 size in bytes, "desc", u32 number of parts, then for each part
    // u32 size in bytes, its atom and its payload. Sizes count themselves. 0, or -14500 for an
    // exception.
    int conv_to_bin(std::vector<unsigned char>& data) const;
    // len: capacity on entry, length on success. Also -14499 when the document does not fit; on
    // failure neither data nor len changes.
    int conv_to_bin(unsigned char* data, int& len) const;

    // Reads into the registered parts; parts of other atoms are skipped, and registered parts that
    // are not in the data keep their content. 0, -14497 for malformed data, -14500 for an
    // exception; each failure is logged. After a failure parts may be replaced, halfway or not at
    // all: the document is to be discarded.
    // atom_list_ptr: receives the atoms of the parts in the data, in their order.
    int conv_from_bin(unsigned char const* data, int len,
                      std::vector<unsigned int>* atom_list_ptr = nullptr);
    int conv_from_bin(std::vector<unsigned char> const& data,
                      std::vector<unsigned int>* atom_list_ptr = nullptr);

private:
    using AtomList = std::vector<unsigned int>;

    int read_doc(util::BinaryStreamInput& in, AtomList* atom_list_ptr);
    int read_part(util::BinaryStreamInput& in, AtomList* atom_list_ptr);

    std::vector<DescInterface*> _part_list;
};

} // namespace ulk::prout
