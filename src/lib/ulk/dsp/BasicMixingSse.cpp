#include "ulk/dsp/BasicMixingSse.h"

namespace ulk::dsp {

template class mixing::Forms<archi::Vect128MemOpAlign, archi::Vect128MemOpAlign>;

} // namespace ulk::dsp
