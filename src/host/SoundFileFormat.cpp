#include "host/SoundFileFormat.h"

#include <sndfile.h>

namespace ulk::host {

float SoundFileFormat::get_int_scale() const {
    switch (encoding) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
        return 0x1p-7f;
    case SF_FORMAT_PCM_16:
        return 0x1p-15f;
    case SF_FORMAT_PCM_24:
        return 0x1p-23f;
    case SF_FORMAT_PCM_32:
        return 0x1p-31f;
    default:
        return 0;
    }
}

} // namespace ulk::host
