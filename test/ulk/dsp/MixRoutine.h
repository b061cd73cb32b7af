#pragma once

#include "ulk/dsp/StereoLevel.h"

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// A block routine with its arguments taken from lists, so that one test body can call them all.

struct MixArgs {
    std::vector<float*> dst;
    std::vector<float*> src;
    long nbr_spl = 0;
    std::vector<float> level; // constant ones and those at the block's start first
    std::vector<int> number;  // strides and counts
    std::vector<ulk::dsp::StereoLevel> matrix;
};

// Hands out the arguments of each type in their order.
class MixArgReader {
public:
    explicit MixArgReader(MixArgs const& args)
        : _args(args) {}

    template <class T>
    T take() {
        if constexpr (std::is_same_v<T, float*>) {
            return _args.dst[_nbr_dst++];
        } else if constexpr (std::is_same_v<T, float const*>) {
            return _args.src[_nbr_src++];
        } else if constexpr (std::is_same_v<T, long>) {
            return _args.nbr_spl;
        } else if constexpr (std::is_same_v<T, float>) {
            return _args.level[_nbr_level++];
        } else if constexpr (std::is_same_v<T, int>) {
            return _args.number[_nbr_number++];
        } else {
            return _args.matrix[_nbr_matrix++];
        }
    }

private:
    MixArgs const& _args;
    std::size_t _nbr_dst = 0;
    std::size_t _nbr_src = 0;
    std::size_t _nbr_level = 0;
    std::size_t _nbr_number = 0;
    std::size_t _nbr_matrix = 0;
};

struct MixRoutine {
    std::string name;
    bool vect_flag; // has a vector form
    std::size_t nbr_dst;
    std::size_t nbr_src;
    std::size_t nbr_level;
    std::size_t nbr_number;
    std::size_t nbr_matrix;
    std::function<void(MixArgs const&)> call;
};

template <class... P>
MixRoutine make_mix_routine(std::string name, bool vect_flag, void (*fnc)(P...)) {
    auto const count = []<class T>(std::type_identity<T>) {
        return (std::size_t{0} + ... + (std::is_same_v<P, T> ? 1u : 0u));
    };
    auto const call = [fnc](MixArgs const& args) {
        MixArgReader reader(args);
        std::tuple<P...> const list{reader.take<P>()...};
        std::apply(fnc, list);
    };
    return {std::move(name),
            vect_flag,
            count(std::type_identity<float*>{}),
            count(std::type_identity<float const*>{}),
            count(std::type_identity<float>{}),
            count(std::type_identity<int>{}),
            count(std::type_identity<ulk::dsp::StereoLevel const&>{}),
            call};
}
