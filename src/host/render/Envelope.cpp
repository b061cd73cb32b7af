#include "host/render/Envelope.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::render {

void Envelope::Column::add(Column const& other) {
    min = std::min(min, other.min);
    max = std::max(max, other.max);
    square_sum += other.square_sum;
    nbr_spl += other.nbr_spl;
}

float Envelope::Column::get_peak() const {
    return std::max(max, -min);
}

double Envelope::Column::get_rms() const {
    return nbr_spl > 0 ? std::sqrt(square_sum / static_cast<double>(nbr_spl)) : 0;
}

Envelope::Envelope(int nbr_chn, double sample_freq, long long nbr_frames, int nbr_columns)
    : _sample_freq(sample_freq)
    , _nbr_frames(nbr_frames) {
    auto const count = std::clamp<long long>(nbr_frames, 1, nbr_columns);
    std::vector<Column> const columns(static_cast<std::size_t>(count));
    _chn_arr.assign(static_cast<std::size_t>(nbr_chn), columns);
}

void Envelope::push(float const* const* chn_arr, long len) {
    for (long done = 0; done < len && _pos < _nbr_frames;) {
        auto const end = find_end(_column);
        long const part_len = static_cast<long>(std::min<long long>(len - done, end - _pos));
        for (std::size_t chn = 0; chn < _chn_arr.size(); ++chn) {
            auto& column = _chn_arr[chn][static_cast<std::size_t>(_column)];
            column.add(measure(chn_arr[chn] + done, part_len));
        }
        done += part_len;
        _pos += part_len;
        _column += _pos == end;
    }
}

std::vector<Envelope::Column> const& Envelope::use_columns(int chn) const {
    return _chn_arr[static_cast<std::size_t>(chn)];
}

float Envelope::find_peak() const {
    float peak = 0;
    for (auto const& columns : _chn_arr) {
        for (Column const& column : columns) {
            peak = std::max(peak, column.get_peak());
        }
    }
    return peak;
}

std::vector<Envelope::Column> Envelope::join_columns(int chn, int nbr_columns) const {
    auto const& src = use_columns(chn);
    std::size_t const count = std::min(src.size(), static_cast<std::size_t>(nbr_columns));
    std::vector<Column> joined(count);
    for (std::size_t pos = 0; pos < src.size(); ++pos) {
        joined[pos * count / src.size()].add(src[pos]);
    }
    return joined;
}

Envelope::Column Envelope::measure(float const* spl_arr, long len) {
    Column column;
    for (long pos = 0; pos < len; ++pos) {
        float const spl = std::isfinite(spl_arr[pos]) ? spl_arr[pos] : 0;
        column.min = std::min(column.min, spl);
        column.max = std::max(column.max, spl);
        column.square_sum += static_cast<double>(spl) * static_cast<double>(spl);
    }
    column.nbr_spl = len;
    return column;
}

// Where the next column begins.
long long Envelope::find_end(int column) const {
    return (column + 1) * _nbr_frames / get_nbr_columns();
}

} // namespace ulk::host::render
