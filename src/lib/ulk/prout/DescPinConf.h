#pragma once

#include "ulk/kryn/PinDir.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutputBase.h"

#include <string>
#include <vector>

namespace ulk::prout {

class XmlTagAccess;

// A pin configuration that a plug-in declares.
class DescPinConf {
public:
    virtual ~DescPinConf() = default;

    // chn_in, chn_out: masks for conv_int_to_chn_list.
    void set_pins(unsigned long long chn_in, unsigned long long chn_out, int data_in, int data_out);
    // The name is not part of the binary form.
    void set_name(std::string const& name);
    bool has_name() const { return _name_flag; }
    std::string const& get_name() const { return _name; } // empty without a name
    // Channel count of each audio pin.
    std::vector<int>& use_audio_pin_list(kryn::PinDir dir) { return _chn_list_arr[dir]; }
    std::vector<int> const& use_audio_pin_list(kryn::PinDir dir) const {
        return _chn_list_arr[dir];
    }
    int get_nbr_pins_data(kryn::PinDir dir) const { return _nbr_pins_data_arr[dir]; }
    void set_nbr_pins_data(kryn::PinDir dir, int nbr_pins) { _nbr_pins_data_arr[dir] = nbr_pins; }
    bool is_valid() const; // all pins have at least one channel
    void clear();

    int write(util::BinaryStreamOutputBase& out) const;
    // Fields are assigned as they are read. 0, or -14497 at the first that can't be read.
    int read(util::BinaryStreamInput& in);

    // Adds a property element below the current node, which stays.
    void serialize_prop(XmlTagAccess& xml, std::string const& name, std::string const& val) const;

    // The channel counts from the low four bits up; ends where the rest of the mask is 0. 0x112
    // gives 2, 1, 1.
    static void conv_int_to_chn_list(std::vector<int>& list, unsigned long long mask);
    // Decimal, separated by single blanks.
    static std::string conv_chn_list_to_str(std::vector<int> const& list);
    // Reads decimal integers separated by white space. 0; -14484 for a number out of 1 to 4096;
    // -14470 at any other character. list then holds the numbers before.
    static int conv_str_to_chn_list(std::vector<int>& list, char const* txt);

    // Bytes of the binary form with empty lists.
    static constexpr unsigned long min_len = 4 * 4;
    static constexpr int max_nbr_chn = 4096; // of a pin, in text form

private:
    std::string _name;
    bool _name_flag = false;
    std::vector<int> _chn_list_arr[kryn::PinDir_NBR_ELT];
    int _nbr_pins_data_arr[kryn::PinDir_NBR_ELT] = {};
};

} // namespace ulk::prout
