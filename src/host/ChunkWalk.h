#pragma once

namespace ulk::sys {
class File;
}

namespace ulk::host {

// Looks at the chunks of a RIFF, RIFX, RF64 or FORM file without reading what is in them.
class ChunkWalk {
public:
    enum class Order { LITTLE, BIG };

    // Whether no chunk reaches over the end of the file, but for the sound: with such ones
    // libsndfile 1.2.0 may not come to an end.
    static bool is_bounded(sys::File& file, Order order);
};

} // namespace ulk::host
