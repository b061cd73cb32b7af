#include "ulk/prout/DescMain.h"

#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/Component.h"
#include "ulk/prout/DescInterface.h"
#include "ulk/udbg/log.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <algorithm>
#include <limits>

namespace ulk::prout {

namespace {

using archi::UInt32;

constexpr UInt32 part_head_len = 8; // size and atom

UInt32 get_len(util::BinaryStreamOutput const& out, unsigned long beg) {
    return static_cast<UInt32>(out.size() - beg);
}

} // namespace

void DescMain::add_desc_part(DescInterface& part) {
    if (std::find(_part_list.begin(), _part_list.end(), &part) == _part_list.end()) {
        _part_list.push_back(&part);
    }
}

DescInterface* DescMain::find(unsigned int atom) const {
    auto const pos = std::find_if(_part_list.begin(), _part_list.end(),
                                  [&](DescInterface* part) { return part->atom() == atom; });
    return pos == _part_list.end() ? nullptr : *pos;
}

int DescMain::conv_to_bin(std::vector<unsigned char>& data) const {
    try {
        data.clear();
        util::BinaryStreamOutput out(data);
        out.write(UInt32(0)); // size, known at the end
        out.write(UInt32(kryn::Component::atom_desc));
        out.write(static_cast<UInt32>(_part_list.size()));
        for (DescInterface const* part : _part_list) {
            auto const beg = out.size();
            out.write(UInt32(0));
            part->write(out);
            out.overwrite(get_len(out, beg), beg);
        }
        out.overwrite(get_len(out, 0), 0);
    } catch (...) {
        ULK_LOG(ERROR, "DescMain::conv_to_bin: Exception.");
        return ace::Err_EXCEPTION;
    }
    return ace::Err_OK;
}

int DescMain::conv_to_bin(unsigned char* data, int& len) const {
    std::vector<unsigned char> doc;
    if (int const ret = conv_to_bin(doc); ret != ace::Err_OK) {
        return ret;
    }
    if (doc.size() > static_cast<std::size_t>(std::max(len, 0))) {
        return ace::Err_NO_ROOM;
    }
    std::copy(doc.begin(), doc.end(), data);
    len = static_cast<int>(doc.size());
    return ace::Err_OK;
}

int DescMain::conv_from_bin(unsigned char const* data, int len, AtomList* atom_list_ptr) {
    try {
        util::BinaryStreamInput in(data, static_cast<unsigned long>(std::max(len, 0)));
        return read_doc(in, atom_list_ptr) == 0 ? ace::Err_OK : ace::Err_DATA_CORRUPTED;
    } catch (...) {
        ULK_LOG(ERROR, "DescMain::conv_from_bin: Exception.");
        return ace::Err_EXCEPTION;
    }
}

int DescMain::conv_from_bin(std::vector<unsigned char> const& data, AtomList* atom_list_ptr) {
    return conv_from_bin(data.data(), static_cast<int>(data.size()), atom_list_ptr);
}

// Non-zero on failure, as read_part.
int DescMain::read_doc(util::BinaryStreamInput& in, AtomList* atom_list_ptr) {
    auto const len = in.size();
    UInt32 doc_len = 0;
    if (int const ret = in.read(doc_len, "DescMain: Error while reading desc size"); ret != 0) {
        return ret;
    }
    if (doc_len != len) {
        ULK_LOG(ERROR, "DescMain: desc size mismatch");
        return ace::Err_DATA_CORRUPTED;
    }
    UInt32 atom = 0;
    if (int const ret = in.read(atom, "DescMain: Error while reading desc atom"); ret != 0) {
        return ret;
    }
    if (atom != kryn::Component::atom_desc) {
        ULK_LOG(ERROR, "DescMain: desc atom mismatch");
        return ace::Err_DATA_CORRUPTED;
    }
    UInt32 nbr_parts = 0;
    int ret = in.read(nbr_parts, "DescMain: Error while reading number desc");
    for (UInt32 cnt = 0; cnt < nbr_parts && ret == 0; ++cnt) {
        ret = read_part(in, atom_list_ptr);
    }
    return ret;
}

// The size of a known part is not compared with what its read consumed: a known payload is
// trusted to tell its own end.
int DescMain::read_part(util::BinaryStreamInput& in, AtomList* atom_list_ptr) {
    UInt32 len = 0;
    if (int const ret = in.read(len, "DescMain: Error while reading sub desc size"); ret != 0) {
        return ret;
    }
    if (len <= part_head_len) {
        ULK_LOG(ERROR, "DescMain: sub desc size wrong");
        return ace::Err_DATA_CORRUPTED;
    }
    UInt32 atom = 0;
    if (int const ret = in.read(atom, "DescMain: Error while reading sub atom"); ret != 0) {
        return ret;
    }
    if (atom_list_ptr != nullptr) {
        atom_list_ptr->push_back(atom);
    }
    if (DescInterface* const part = find(atom); part != nullptr) {
        return part->read(in);
    }
    constexpr unsigned long max_dist = std::numeric_limits<long>::max(); // never a way back
    unsigned long const dist = std::min<unsigned long>(len - part_head_len, max_dist);
    return in.advance(static_cast<long>(dist), "DescMain: skipping atom failed");
}

} // namespace ulk::prout
