#pragma once

#include "host/engine/GainCurve.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace test {

// The law that levels follow, at any frame, the slow way: points in dB at their nearest frames,
// joined by straight lines in dB, times straight fades.
class GainLaw {
public:
    using Curve = ulk::host::engine::GainCurve::Curve;
    using Fades = ulk::host::engine::GainCurve::Fades;

    static constexpr double floor_db = -96; // where slopes from and to silence stand

    GainLaw(Curve const& points, double gain, double freq, Fades const& fades = {})
        : _gain(gain)
        , _fades(fades) {
        for (auto const& point : points) {
            _point_arr.emplace_back(std::round(point.time * freq), point.val);
        }
    }

    double find(double frame) const {
        return conv_to_factor(find_db(frame, false)) * find_fades(frame);
    }
    // Just before a frame, where jumps make a difference.
    double find_before(double frame) const {
        return conv_to_factor(find_db(frame, true)) * find_fades(frame);
    }
    bool is_constant() const {
        return _fades.in_len == 0 && _fades.out_len == 0 &&
               std::all_of(_point_arr.begin(), _point_arr.end(), [this](auto const& point) {
                   return point.second == _point_arr.front().second;
               });
    }
    // A jump lies behind frame - len and not behind frame.
    bool has_jumped(double frame, double len) const {
        for (std::size_t next = 1; next < _point_arr.size(); ++next) {
            auto const [pos, val] = _point_arr[next];
            auto const [last_pos, last_val] = _point_arr[next - 1];
            bool const edge_flag = std::isinf(val) || std::isinf(last_val);
            if ((pos == last_pos || edge_flag) && val != last_val &&
                ((pos > frame - len && pos <= frame) ||
                 (last_pos > frame - len && last_pos <= frame))) {
                return true;
            }
        }
        return false;
    }

private:
    double conv_to_factor(double db) const { return std::pow(10.0, (db + _gain) / 20); }
    double find_fades(double frame) const {
        auto const in_len = static_cast<double>(_fades.in_len);
        auto const out_len = static_cast<double>(_fades.out_len);
        double factor = 1;
        if (in_len > 0) {
            factor *= std::clamp(frame / in_len, 0.0, 1.0);
        }
        if (out_len > 0) {
            factor *= std::clamp((static_cast<double>(_fades.out_end) - frame) / out_len, 0.0, 1.0);
        }
        return factor;
    }
    static double interpolate(std::pair<double, double> a, std::pair<double, double> b,
                              double frame) {
        if (a.second == b.second) {
            return a.second;
        }
        if (std::isinf(a.second)) {
            a.second = std::min(b.second, floor_db);
        }
        if (std::isinf(b.second)) {
            b.second = std::min(a.second, floor_db);
        }
        return a.second + (b.second - a.second) * (frame - a.first) / (b.first - a.first);
    }
    double find_db(double frame, bool before_flag) const {
        if (_point_arr.empty()) {
            return 0;
        }
        std::size_t next = 0;
        while (next < _point_arr.size() &&
               (before_flag ? _point_arr[next].first < frame : _point_arr[next].first <= frame)) {
            ++next;
        }
        if (next == 0) {
            return _point_arr.front().second;
        }
        if (next == _point_arr.size()) {
            return _point_arr.back().second;
        }
        return interpolate(_point_arr[next - 1], _point_arr[next], frame);
    }

    std::vector<std::pair<double, double>> _point_arr;
    double _gain;
    Fades _fades;
};

} // namespace test
