#include "host/engine/GainCurve.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::engine {

namespace {

constexpr long long far_pos = CurveLine::far_pos;
constexpr double floor_db = -96; // where a slope from or to silence begins or ends

// A straight line of the factor over a step of 2 dB stays within 0.1 dB of one in dB. On a fade,
// where the factor may start from 0, the middle of the line is off by half the step.
constexpr double step_db = 2;
constexpr double step_fade_db = 0.2;

double conv_db_to_factor(double db) {
    return std::pow(10.0, db / 20);
}

} // namespace

GainCurve::GainCurve(Curve const& points, double gain, double sample_freq, Fades const& fades)
    : _points(&points)
    , _sample_freq(sample_freq)
    , _gain(gain)
    , _fades(fades) {}

CurveLine GainCurve::find_line(long long pos) const {
    if (_points->empty()) {
        return {-far_pos, far_pos, _gain, _gain};
    }
    CurveLine line = CurveLine::find(*_points, _sample_freq, pos);
    if (std::isinf(line.val_beg) != std::isinf(line.val_end)) {
        line.val_beg = std::max(line.val_beg, floor_db);
        line.val_end = std::max(line.val_end, floor_db);
    }
    line.val_beg += _gain;
    line.val_end += _gain;
    return line;
}

double GainCurve::find_fade(long long pos) const {
    double factor = 1;
    if (_fades.in_len > 0 && pos < _fades.in_len) {
        factor = static_cast<double>(std::max(pos, 0LL)) / static_cast<double>(_fades.in_len);
    }
    if (_fades.out_len > 0 && pos > _fades.out_end - _fades.out_len) {
        long long const rem = std::max(_fades.out_end - pos, 0LL);
        factor *= static_cast<double>(rem) / static_cast<double>(_fades.out_len);
    }
    return factor;
}

long long GainCurve::find_fade_end(long long pos) const {
    long long end = far_pos;
    auto const bound = [&](long long edge) {
        if (edge > pos) {
            end = std::min(end, edge);
        }
    };
    if (_fades.in_len > 0) {
        bound(0);
        bound(_fades.in_len);
    }
    if (_fades.out_len > 0) {
        bound(_fades.out_end - _fades.out_len);
        bound(_fades.out_end);
    }
    return end;
}

GainCurve::Piece GainCurve::find_piece(long long pos, long max_len) const {
    CurveLine const line = find_line(pos);
    long long end = std::min({pos + max_len, line.end, find_fade_end(pos)});
    if (!line.is_constant()) {
        bool const fading_flag = find_fade(pos) != 1 || find_fade(end) != 1;
        double const step = fading_flag ? step_fade_db : step_db;
        double const len = step * static_cast<double>(line.end - line.beg) /
                           std::fabs(line.val_end - line.val_beg);
        end = std::min(end, pos + std::max(1LL, std::llround(std::min(len, 1e9))));
    }
    auto const find_gain = [&](long long frame) {
        return conv_db_to_factor(line.find_val(frame)) * find_fade(frame);
    };
    return {static_cast<long>(end - pos), find_gain(pos), find_gain(end)};
}

bool GainCurve::is_constant_from(long long pos) const {
    CurveLine const line = find_line(pos);
    return line.end == far_pos && line.is_constant() && find_fade_end(pos) == far_pos;
}

} // namespace ulk::host::engine
