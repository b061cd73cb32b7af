#include "MixModel.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

MixModel::MixModel(MixRoutine const& routine, MixArgs const& args, bool vect_flag)
    : _nbr_spl(static_cast<std::size_t>(args.nbr_spl)) {
    parse(routine, args);
    build_levels(args, vect_flag);
}

void MixModel::parse(MixRoutine const& routine, MixArgs const& args) {
    std::vector<std::string> shape_list;
    std::istringstream words(routine.name);
    for (std::string word; std::getline(words, word, '_');) {
        bool const shape_flag = word.find_first_of("1234") != word.npos || word.size() == 3;
        if (word.front() == 'v' || word.starts_with("lr")) {
            _level = word;
        } else if (shape_flag && word != "mix" && word != "add" && word != "cst" && word != "sub" &&
                   word != "mat") {
            shape_list.push_back(word);
        } else {
            _verb += (_verb.empty() ? "" : "_") + word;
        }
    }
    if (shape_list.empty()) {
        shape_list = {"1"}; // fill, clear
    }
    _dst = parse_shape(shape_list.back(), args);
    _src = parse_shape(shape_list.front(), args);
    if (_verb == "mult") {
        _src = {2, 1, true};
    }
    if (routine.nbr_src == 0) {
        _src = {0, 1, true};
    }
}

MixModel::Shape MixModel::parse_shape(std::string const& txt, MixArgs const& args) const {
    auto const number = [&args](std::size_t i) { return static_cast<std::size_t>(args.number[i]); };
    if (txt == "1" || txt == "2" || txt == "4") {
        return {static_cast<std::size_t>(txt[0] - '0'), 1, true};
    }
    if (txt == "2i" || txt == "4i") {
        auto const nbr_chn = static_cast<std::size_t>(txt[0] - '0');
        return {nbr_chn, nbr_chn, false};
    }
    if (txt == "4i2") {
        return {2, 4, false};
    }
    if (txt == "ni1") {
        return {1, number(0), false};
    }
    if (txt == "mip") {
        return {number(2), number(0), false};
    }
    if (txt == "nip") {
        return {number(2), number(1), false};
    }
    if (txt == "nim") {
        return {number(0), number(0) + number(1), false};
    }
    throw std::runtime_error("unknown shape " + txt);
}

void MixModel::build_levels(MixArgs const& args, bool vect_flag) {
    std::vector<float> beg = args.level;
    std::vector<float> end;
    for (ulk::dsp::StereoLevel const& m : args.matrix) {
        beg.insert(beg.end(), {m.ll, m.lr, m.rl, m.rr});
    }
    if (_level.ends_with("lr") || _level.ends_with("lrauto")) {
        auto const half = beg.begin() + static_cast<std::ptrdiff_t>(beg.size() / 2);
        end.assign(half, beg.end());
        beg.erase(half, beg.end());
        _ramp_flag = _level.ends_with("lr") || beg != end;
    }
    for (std::size_t k = 0; k < beg.size(); ++k) {
        _level_arr.push_back(_ramp_flag ? build_ramp(beg[k], end[k], vect_flag)
                                        : std::vector<float>(_nbr_spl, beg[k]));
    }
}

std::vector<float> MixModel::build_ramp(float beg, float end, bool vect_flag) const {
    std::vector<float> arr(_nbr_spl);
    std::size_t const nbr_vect = vect_flag ? _nbr_spl / 4 : 0;
    float const step = find_step(beg, end, _nbr_spl);
    for (std::size_t lane = 0; lane < 4; ++lane) {
        float level = vect_flag ? beg + step * static_cast<float>(lane) : beg;
        for (std::size_t i = 0; i < nbr_vect; ++i) {
            arr[i * 4 + lane] = level;
            level += step * 4.0f;
        }
        if (lane == 0) {
            float const step_tail = find_step(level, end, _nbr_spl - nbr_vect * 4);
            for (std::size_t pos = nbr_vect * 4; pos < _nbr_spl; ++pos) {
                arr[pos] = level;
                level += step_tail;
            }
        }
    }
    return arr;
}

float MixModel::find_step(float beg, float end, std::size_t nbr_spl) const {
    if (nbr_spl == 0) {
        return 0;
    }
    auto const len = static_cast<float>(nbr_spl);
    return _verb.ends_with("mat") ? (end - beg) * (1.0f / len) : (end - beg) / len;
}

void MixModel::process(Buffers& dst, Buffers const& src) const {
    for (std::size_t pos = 0; pos < _nbr_spl; ++pos) {
        std::vector<float> d;
        std::vector<float> x;
        for (std::size_t chn = 0; chn < _dst.nbr_chn; ++chn) {
            d.push_back(_dst.use(dst, chn, pos));
        }
        for (std::size_t chn = 0; chn < _src.nbr_chn; ++chn) {
            x.push_back(_src.use(src, chn, pos));
        }
        for (std::size_t chn = 0; chn < _dst.nbr_chn; ++chn) {
            _dst.use(dst, chn, pos) = compute(chn, pos, d, x);
        }
    }
}

float MixModel::compute(std::size_t chn, std::size_t pos, std::vector<float> const& d,
                        std::vector<float> const& x) const {
    auto const level = [&](std::size_t k) { return _level_arr[k][pos]; };
    auto const mixed = [&](float val) { return _verb.starts_with("mix") ? d[chn] + val : val; };
    auto const own = [&] { return x[std::min(chn, x.size() - 1)]; };
    if (_verb == "copy" || _verb == "mix") {
        float val = own();
        for (std::size_t k = 1; _dst.nbr_chn == 1 && k < x.size(); ++k) {
            val += x[k];
        }
        return mixed(_level.empty() ? val : val * level(0));
    }
    if (_verb.ends_with("spread")) {
        return mixed(x[0] * level(chn));
    }
    if (_verb == "copy_xfade") {
        return x[0] + (x[1] - x[0]) * level(0);
    }
    if (_verb.ends_with("mat")) {
        return mixed(x[0] * level(chn) + x[1] * level(chn + 2));
    }
    if (_verb == "scale") {
        return d[chn] * level(0);
    }
    if (_verb == "mult") {
        return x[0] * x[1];
    }
    if (_verb == "mult_ip") {
        return d[chn] * own();
    }
    if (_verb == "clear") {
        return 0.0f;
    }
    if (_verb == "fill") {
        return level(0);
    }
    if (_verb == "add_cst") {
        return d[chn] + level(0);
    }
    if (_verb == "linop_cst") {
        return level(0) * x[0] + level(1);
    }
    if (_verb == "linop_cst_ip") {
        return level(0) * d[0] + level(1);
    }
    if (_verb == "add_sub_ip") {
        return chn == 0 ? d[0] + d[1] : d[0] - d[1];
    }
    throw std::runtime_error("unknown verb " + _verb);
}
