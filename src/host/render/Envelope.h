#pragma once

#include <vector>

namespace ulk::host::render {

// The outline of a sound of known length, for pictures: the lowest and highest sample and the mean
// square of as many stretches as the picture has columns. Memory is fixed from the start.
class Envelope {
public:
    struct Column {
        float min = 0;
        float max = 0;
        double square_sum = 0;
        long long nbr_spl = 0;

        void add(Column const& other);
        float get_peak() const; // highest magnitude
        double get_rms() const; // 0 without samples
    };

    // nbr_columns are 1 or more; a sound that is shorter has a column a frame.
    Envelope(int nbr_chn, double sample_freq, long long nbr_frames, int nbr_columns);

    // len frames from one buffer a channel; what comes behind the announced length is passed over,
    // and what is not finite is silence. real-time
    void push(float const* const* chn_arr, long len);

    int get_nbr_chn() const { return static_cast<int>(_chn_arr.size()); }
    int get_nbr_columns() const { return static_cast<int>(_chn_arr[0].size()); }
    double get_sample_freq() const { return _sample_freq; }
    double get_duration() const { return static_cast<double>(_nbr_frames) / _sample_freq; } // s
    std::vector<Column> const& use_columns(int chn) const;
    float find_peak() const; // of all channels

    // As many columns as asked for, or fewer, joined from neighbours.
    std::vector<Column> join_columns(int chn, int nbr_columns) const;

private:
    static Column measure(float const* spl_arr, long len);
    long long find_end(int column) const;

    double _sample_freq;
    long long _nbr_frames;
    long long _pos = 0;
    int _column = 0;                           // that the next frame belongs to
    std::vector<std::vector<Column>> _chn_arr; // the columns of each channel
};

} // namespace ulk::host::render
