#pragma once

namespace ulk::ace::baplug {

// Tuned numbers of Tape.
class TapeCst {
public:
    // Sample kept asked for ahead of the play position: long enough for a busy disk. In seconds.
    static constexpr float _prefetch_lookahead = 1.0f;
    // The cache is asked again when the position has moved on by so many frames, not at each block.
    static constexpr long _prefetch_grain = 4096;
};

} // namespace ulk::ace::baplug
