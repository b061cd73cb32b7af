#pragma once

#include "ulk/archi/types.h"
#include "ulk/util/BinaryStreamInput.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace ulk::prout {

// Reads the counted lists of a document. A count may lie: the elements before the end of the data
// are read in any case, so that the failure is that of the first field that isn't there, and no
// list grows further than the bytes left can fill.
class DescRead {
public:
    // Reads a count; the number of elements, of min_len bytes at least, that are worth a try.
    static int read_count(util::BinaryStreamInput& in, std::size_t& count, unsigned long min_len,
                          char const* err) {
        archi::UInt32 nbr_elt = 0;
        int const ret = in.read(nbr_elt, err);
        count = std::min<std::size_t>(nbr_elt, in.size() / min_len + 1);
        return ret;
    }

    // Replaces the content of list; the elements that were not reached have their default value.
    template <class T>
    static int read_list(util::BinaryStreamInput& in, std::vector<T>& list, unsigned long min_len,
                         char const* err) {
        list.clear();
        std::size_t count = 0;
        int ret = read_count(in, count, min_len, err);
        list.resize(count);
        for (auto elt = list.begin(); elt != list.end() && ret == 0; ++elt) {
            ret = in.read(*elt, err);
        }
        return ret;
    }

    // Replaces the content of map by pairs; a key that is there keeps its first value.
    static int read_map(util::BinaryStreamInput& in, std::map<std::string, std::string>& map,
                        char const* err) {
        map.clear();
        std::size_t count = 0;
        int ret = read_count(in, count, 2 * 4, err);
        for (; count > 0 && ret == 0; --count) {
            std::string key;
            std::string val;
            ret = in.read(key, err);
            ret = ret == 0 ? in.read(val, err) : ret;
            if (ret == 0) {
                map.emplace(std::move(key), std::move(val));
            }
        }
        return ret;
    }
};

} // namespace ulk::prout
