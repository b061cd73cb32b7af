#pragma once

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <cstddef>
#include <string>

namespace ulk::host::live {

// The gaps of a take, where silence stands for what the disk was too slow for: the first ones by
// place, the rest by number.
class GapList {
public:
    static constexpr std::size_t max_nbr_listed = 32;
    struct Gap {
        long long pos; // frame of the file
        long long len; // frames
    };

    // Behind all that was added before; right behind it, the last gap goes on. real-time
    void add(long long pos, long long len);
    // Leaves out what lies behind a file that ends earlier. Gaps that are not listed count as long
    // as the listed ones lie in the file.
    void cut(long long file_len);

    long long get_nbr_gaps() const { return _nbr_gaps; }
    long long get_nbr_frames() const { return _nbr_frames; } // in all of them
    std::size_t get_nbr_listed() const;
    Gap const& get_gap(std::size_t index) const { return _gap_arr[index]; } // a listed one

    std::string print(double sample_freq) const; // for people, a line a gap
    nlohmann::json make_json(double sample_freq) const;

private:
    std::array<Gap, max_nbr_listed> _gap_arr{};
    long long _nbr_gaps = 0;
    long long _nbr_frames = 0;
    long long _end = -1; // frame behind the last one
};

} // namespace ulk::host::live
