// Runs a sound file through a plug-in of the bundle, and measures what comes out:
//     embed IN.wav OUT.wav

#include "host/Bundle.h"
#include "host/Error.h"
#include "host/FileProcessor.h"
#include "host/SoundFileReader.h"
#include "host/render/Meter.h"

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "embed IN.wav OUT.wav\n");
        return ulk::host::Error::Kind_USE;
    }
    try {
        ulk::host::Bundle bundle(BUNDLE);
        ulk::host::FileProcessor::Settings settings;
        settings.plug_id = "Brevanto#TessitoneBypass";
        settings.in_path_arr = {argv[1]};
        settings.out_path = argv[2];
        ulk::host::FileProcessor::run(bundle, settings, [](long long, long long) {});

        ulk::host::SoundFileReader reader(argv[2]);
        auto const& format = reader.get_format();
        auto const len = static_cast<std::size_t>(reader.get_len());
        std::vector<std::vector<float>> sound(static_cast<std::size_t>(format.nbr_chn),
                                              std::vector<float>(len));
        std::vector<float*> chn_arr;
        for (auto& chn : sound) {
            chn_arr.push_back(chn.data());
        }
        reader.read(chn_arr.data(), static_cast<long>(len));
        ulk::host::render::Meter meter(format.nbr_chn, format.sample_freq);
        meter.push(chn_arr.data(), static_cast<long>(len));
        auto const figures = meter.compute_figures();
        std::printf("%lld frames, peak %.2f dBFS, %.2f LUFS\n", figures.nbr_frames, figures.peak,
                    figures.loudness);
        return 0;
    } catch (ulk::host::Error const& e) {
        std::fprintf(stderr, "embed: %s\n", e.what());
        return e.get_kind();
    }
}
