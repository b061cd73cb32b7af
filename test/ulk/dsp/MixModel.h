#pragma once

#include "MixRoutine.h"

#include <string>
#include <vector>

// Reference of the block routines: reads a routine's name, and does frame by frame what it says.
class MixModel {
public:
    using Buffers = std::vector<std::vector<float>>;

    // The model of a routine for these arguments (the pointers are not looked at). With vect_flag,
    // ramps round as those of 4-lane vectors do.
    MixModel(MixRoutine const& routine, MixArgs const& args, bool vect_flag);

    // Floats from the first to the last one that is read or written.
    std::size_t get_dst_len() const { return _dst.compute_len(_nbr_spl); }
    std::size_t get_src_len() const { return _src.compute_len(_nbr_spl); }
    bool is_ramp() const { return _ramp_flag; }

    void process(Buffers& dst, Buffers const& src) const;

private:
    // Channels, each in a buffer of its own or all in frames of "stride" floats.
    struct Shape {
        std::size_t nbr_chn = 0;
        std::size_t stride = 1;
        bool separate_flag = true;

        std::size_t compute_len(std::size_t nbr_spl) const {
            return separate_flag ? nbr_spl : (nbr_spl - 1) * stride + nbr_chn;
        }
        template <class B>
        auto& use(B& bufs, std::size_t chn, std::size_t pos) const {
            return separate_flag ? bufs[chn][pos] : bufs[0][pos * stride + chn];
        }
    };
    using Levels = std::vector<std::vector<float>>;

    void parse(MixRoutine const& routine, MixArgs const& args);
    Shape parse_shape(std::string const& txt, MixArgs const& args) const;
    void build_levels(MixArgs const& args, bool vect_flag);
    std::vector<float> build_ramp(float beg, float end, bool vect_flag) const;
    float find_step(float beg, float end, std::size_t nbr_spl) const;
    float compute(std::size_t chn, std::size_t pos, std::vector<float> const& d,
                  std::vector<float> const& x) const;

    std::size_t _nbr_spl;
    std::string _verb;  // "copy", "mix", "mult_ip"...
    std::string _level; // "", "v", "vlr", "vlrauto"
    Shape _dst;
    Shape _src;
    bool _ramp_flag = false;
    Levels _level_arr; // one row of frames for each level
};
