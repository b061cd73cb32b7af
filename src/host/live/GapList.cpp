#include "host/live/GapList.h"

#include "host/render/TimeText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace ulk::host::live {

void GapList::add(long long pos, long long len) {
    if (len <= 0) {
        return;
    }
    if (pos != _end) {
        if (get_nbr_listed() < max_nbr_listed) {
            _gap_arr[get_nbr_listed()] = {pos, 0};
        }
        ++_nbr_gaps;
    }
    if (_nbr_gaps == static_cast<long long>(get_nbr_listed())) {
        _gap_arr[get_nbr_listed() - 1].len += len;
    }
    _nbr_frames += len;
    _end = pos + len;
}

void GapList::cut(long long file_len) {
    std::size_t const nbr_listed = get_nbr_listed();
    if (nbr_listed == 0) {
        return;
    }
    Gap const& last = _gap_arr[nbr_listed - 1];
    if (last.pos + last.len <= file_len) {
        return;
    }
    GapList const whole = std::exchange(*this, {});
    for (std::size_t index = 0; index < nbr_listed; ++index) {
        Gap const& gap = whole._gap_arr[index];
        add(gap.pos, std::min(gap.len, file_len - gap.pos));
    }
}

std::size_t GapList::get_nbr_listed() const {
    return std::min(static_cast<std::size_t>(_nbr_gaps), max_nbr_listed);
}

std::string GapList::print(double sample_freq) const {
    std::string txt;
    for (std::size_t index = 0; index < get_nbr_listed(); ++index) {
        Gap const& gap = _gap_arr[index];
        txt += "  GAP       at " +
               render::TimeText::print(static_cast<double>(gap.pos) / sample_freq, 3) + ": " +
               std::to_string(gap.len) + " frames of silence\n";
    }
    long long const rest = _nbr_gaps - static_cast<long long>(get_nbr_listed());
    return txt + (rest > 0 ? "  GAP       and " + std::to_string(rest) + " more\n" : "");
}

nlohmann::json GapList::make_json(double sample_freq) const {
    auto json = nlohmann::json::array();
    for (std::size_t index = 0; index < get_nbr_listed(); ++index) {
        Gap const& gap = _gap_arr[index];
        json.push_back(
            {{"time_s", static_cast<double>(gap.pos) / sample_freq}, {"frames", gap.len}});
    }
    return json;
}

} // namespace ulk::host::live
