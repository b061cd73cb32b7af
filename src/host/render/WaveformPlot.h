#pragma once

#include "host/render/Envelope.h"

#include <string>

namespace ulk::host::render {

// The picture of a sound: its channels below each other over time, samples and mean level against
// a grid in dB, and where it clips. PNG or SVG, by the ending of the name.
class WaveformPlot {
public:
    // How many columns an envelope for a picture has.
    static constexpr int nbr_columns = 1472;

    // Throws an Error for a name that ends in neither .png nor .svg: before there is a sound.
    static void check_path(std::string const& path);

    // title and note, UTF-8, stand above, to the left and to the right. Throws an Error that names
    // the file.
    static void save(std::string const& path, Envelope const& envelope, std::string const& title,
                     std::string const& note);
};

} // namespace ulk::host::render
