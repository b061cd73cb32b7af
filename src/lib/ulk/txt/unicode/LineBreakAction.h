#pragma once

namespace ulk::txt::unicode {

// What may happen between two characters. A line may be broken at DIRECT, INDIRECT and
// COMBINING_INDIRECT (the last two come out of the search only behind a space), has to be at
// EXPLICIT, and must not be at the others.
enum LineBreakAction : int {
    LineBreakAction_DIRECT = 0,
    LineBreakAction_INDIRECT,
    LineBreakAction_COMBINING_INDIRECT,
    LineBreakAction_COMBINING_PROHIBITED,
    LineBreakAction_PROHIBITED,
    LineBreakAction_EXPLICIT
};

static_assert(sizeof(LineBreakAction) == 4);

} // namespace ulk::txt::unicode
