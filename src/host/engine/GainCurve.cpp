#include "host/engine/GainCurve.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::engine {

namespace {

constexpr long long far_pos = CurveLine::far_pos;
constexpr double floor_db = -96;  // where a slope from or to silence begins or ends
constexpr double quiet_db = -150; // below, nobody hears how a slope runs

// A straight line of the factor over a step of 1.5 dB stays within 0.1 dB of one in dB.
constexpr double step_db = 1.5;
constexpr double max_ratio = 1.005; // of a straight line to what it stands for, or the other way

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
    if (std::isinf(line.val_beg) && !std::isinf(line.val_end)) {
        line.val_beg = std::min(line.val_end, floor_db);
    } else if (std::isinf(line.val_end) && !std::isinf(line.val_beg)) {
        line.val_end = std::min(line.val_beg, floor_db);
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

// Where a straight line of the factor that begins at pos has to end at the latest.
long long GainCurve::find_slope_end(CurveLine const& line, long long pos) {
    if (line.is_constant()) {
        return line.end;
    }
    double const frames_per_db =
        static_cast<double>(line.end - line.beg) / (line.val_end - line.val_beg);
    double const val = line.find_val(pos);
    double len = step_db * std::fabs(frames_per_db);
    if (val < quiet_db) {
        double const quiet_len = (quiet_db - val) * frames_per_db;
        len = quiet_len < 0 ? static_cast<double>(line.end - pos) : std::max(len, quiet_len);
    }
    return std::min(line.end, pos + std::max(1LL, static_cast<long long>(std::min(len, 1e15))));
}

double GainCurve::find_gain(CurveLine const& line, long long pos) const {
    return conv_db_to_factor(line.find_val(pos)) * find_fade(pos);
}

// A fade is straight, but not when it meets another one or a slope.
bool GainCurve::is_bent(CurveLine const& line, long long pos, long long end) const {
    bool const in_flag = pos < _fades.in_len;
    bool const out_flag = _fades.out_len > 0 && end > _fades.out_end - _fades.out_len;
    return (in_flag && out_flag) || ((in_flag || out_flag) && !line.is_constant());
}

// Whether the straight line between two places stays by the factor. It strays most where the factor
// comes from 0, or in the middle.
bool GainCurve::is_followed(CurveLine const& line, long long pos, long long end) const {
    double const beg_gain = find_gain(line, pos);
    double const slope = (find_gain(line, end) - beg_gain) / static_cast<double>(end - pos);
    auto const is_near = [&](long long frame) {
        double const straight = beg_gain + slope * static_cast<double>(frame - pos);
        double const gain = find_gain(line, frame);
        return straight <= gain * max_ratio && gain <= straight * max_ratio;
    };
    return is_near(pos + 1) && is_near(pos + (end - pos) / 2) && is_near(end - 1);
}

GainCurve::Piece GainCurve::find_piece(long long pos, long max_len) const {
    CurveLine const line = find_line(pos);
    long long end = std::min({pos + max_len, find_fade_end(pos), find_slope_end(line, pos)});
    if (is_bent(line, pos, end)) {
        while (end - pos > 1 && !is_followed(line, pos, end)) {
            end = pos + (end - pos) / 2;
        }
    }
    return {static_cast<long>(end - pos), find_gain(line, pos), find_gain(line, end)};
}

bool GainCurve::is_constant_from(long long pos) const {
    CurveLine const line = find_line(pos);
    return line.end == far_pos && line.is_constant() && find_fade_end(pos) == far_pos;
}

} // namespace ulk::host::engine
