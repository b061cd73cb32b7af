#pragma once

#include "ulk/prout/ParamInterface.h"

#include <string>
#include <vector>

namespace ulk::prout {

// Items of an enumeration parameter. The natural value is the index of the item, and the public
// form is the natural one. Filled at construction of its owner, then only read, from any thread.
class ParamHelperEnum {
public:
    virtual ~ParamHelperEnum() = default;

    // Grows the list with empty items to reach index (0 or more).
    void add_item(long index, char const* txt);
    // Format that conv_nat_to_str prints with; "%1%" stands for the item.
    void set_print_format(char const* fmt) { _print_format = fmt; }

    bool is_ok() const { return _item_list.size() >= 2; }
    bool check_length(long n) const { return get_nbr_items() == n; }
    long get_val_min() const { return 0; }
    long get_val_max() const { return get_nbr_items() - 1; }

    long conv_nat_to_int(double nat) const; // nat rounded, halves up; within the range of long
    double conv_norm_to_nat(double norm) const;
    double conv_nat_to_norm(double nat) const; // 0 when there are fewer than two items
    // txt: room for max_len characters and a terminator; the text is cut there. An index out of
    // range gives the empty text and -14484.
    int conv_nat_to_str(double nat, char* txt, long max_len) const;
    // The first item of the list that occurs in txt, in any case and at any place, wins. Without
    // one, txt is read as a decimal index. -14487 when it can't be read, or when the index, which
    // nat then holds, is out of range; the code of the search when txt is no valid UTF-8.
    int conv_str_to_nat(char const* txt, double& nat) const;

    // Sets all fields but name and unit.
    void prefill_prop(ParamInterface::Prop& prop) const;

private:
    long get_nbr_items() const { return static_cast<long>(_item_list.size()); }

    std::vector<std::string> _item_list;
    std::string _print_format = "%1%";
};

} // namespace ulk::prout
