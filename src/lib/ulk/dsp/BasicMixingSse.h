#pragma once

#include "ulk/archi/Vect128MemOpAlign.h"
#include "ulk/dsp/mixing/Forms.h"

namespace ulk::dsp {

extern template class mixing::Forms<archi::Vect128MemOpAlign, archi::Vect128MemOpAlign>;

// Vector routines of 128 bits, in the names of BasicMixingList.h that have such a form. VD and VS
// load and store the vectors of destinations and sources, here from 16-byte boundaries.
template <class VD, class VS>
class BasicMixingSse : public mixing::Forms<VD, VS>, public mixing::VectCst {};

} // namespace ulk::dsp
