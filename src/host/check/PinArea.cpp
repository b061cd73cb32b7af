#include "host/check/PinArea.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace ulk::host::check {

namespace {

constexpr std::uint32_t unwritten = 0x7FC0DEAD;

} // namespace

PinArea::PinArea(std::vector<long> const& chn_arr, long max_len)
    : _max_len(max_len) {
    for (long const nbr_chn : chn_arr) {
        Pin& pin = _pin_list.emplace_back();
        for (long chn = 0; chn < nbr_chn; ++chn) {
            pin.chn_list.push_back(
                {GuardedArray<float>(max_len), std::vector<float>(to_pos(max_len))});
            pin.ptr_list.push_back(pin.chn_list.back().area.data());
        }
    }
    for (Pin& pin : _pin_list) {
        _data_list.push_back({pin.ptr_list.data(), kryn::PluginDsp::State_SIGNAL});
    }
}

void PinArea::fill(long pin, float val) {
    for (Chn& chn : use(pin).chn_list) {
        std::fill_n(chn.area.data(), _max_len, val);
    }
}

float PinArea::get_unwritten() {
    return std::bit_cast<float>(unwritten);
}

bool PinArea::is_unwritten(float val) {
    return std::bit_cast<std::uint32_t>(val) == unwritten;
}

void PinArea::keep() {
    for (std::size_t pos = 0; pos < _pin_list.size(); ++pos) {
        Pin& pin = _pin_list[pos];
        pin.state = _data_list[pos].state;
        _data_list[pos].chn_arr = pin.ptr_list.data();
        for (std::size_t chn = 0; chn < pin.chn_list.size(); ++chn) {
            pin.ptr_list[chn] = pin.chn_list[chn].area.data();
            std::copy_n(pin.ptr_list[chn], _max_len, pin.chn_list[chn].copy.data());
        }
    }
}

bool PinArea::are_addresses_same(long pin) const {
    Pin const& info = use(pin);
    if (_data_list[to_pos(pin)].chn_arr != info.ptr_list.data()) {
        return false;
    }
    for (std::size_t chn = 0; chn < info.chn_list.size(); ++chn) {
        if (info.ptr_list[chn] != info.chn_list[chn].area.data()) {
            return false;
        }
    }
    return true;
}

bool PinArea::are_guards_intact(long pin) const {
    auto const& list = use(pin).chn_list;
    return std::all_of(list.begin(), list.end(),
                       [](Chn const& chn) { return chn.area.is_intact(); });
}

bool PinArea::is_same(long pin, long beg, long end) const {
    auto const& list = use(pin).chn_list;
    return std::all_of(list.begin(), list.end(), [beg, end](Chn const& chn) {
        return std::memcmp(chn.area.data() + beg, chn.copy.data() + beg,
                           to_pos(end - beg) * sizeof(float)) == 0;
    });
}

} // namespace ulk::host::check
