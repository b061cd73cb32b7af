#include "soak/Material.h"

#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace soak {

using namespace ulk::sacc;

Material::Material(long len) {
    std::mt19937 rng(1);
    auto const draw = [&rng](int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(rng);
    };
    constexpr SplFileBitFmt fmt_arr[] = {SplFileBitFmt_U8, SplFileBitFmt_S16, SplFileBitFmt_S24,
                                         SplFileBitFmt_S32, SplFileBitFmt_F32};
    int next_fmt = 0;
    auto const add_any = [&](int nbr_chn, int chn) {
        add(nbr_chn, chn, fmt_arr[next_fmt++ % 5], std::max(len / draw(1, 12) / nbr_chn, 8000L));
    };
    for (int count = 0; count < 5; ++count) {
        add_any(1, 0);
    }
    for (int chn = 0; chn < max_chn; ++chn) {
        for (int count = 0; count < 3; ++count) {
            int const least = std::max(chn + 1, 2);
            add_any(count == 0 ? least : draw(least, max_chn), chn);
        }
    }
}

void Material::add(int nbr_chn, int chn, SplFileBitFmt bit_fmt, long len) {
    Sample sample;
    auto const index = _sample_arr.size();
    sample.path = _dir.make_name("sample " + std::to_string(index) + ".wav");
    sample.facts = {len, freq, nbr_chn, ""};
    sample.chn = chn;
    sample.nbr_bits = bit_fmt == SplFileBitFmt_U8 ? 7 : bit_fmt == SplFileBitFmt_S16 ? 15 : 23;
    sample.seed = static_cast<unsigned>(index * 1009);
    std::vector<float> frames(static_cast<std::size_t>(len * nbr_chn));
    for (long frame = 0; frame < len; ++frame) {
        frames[static_cast<std::size_t>(frame * nbr_chn + chn)] = sample.get(frame);
    }
    ulk::sys::Mutex mutex;
    SplFileMgr file_mgr(mutex);
    SplFileFmtDesc desc;
    desc.set_data(SplFileFmt_WAV, bit_fmt, freq, nbr_chn);
    SplFileHnd file;
    if (file.create_new(file_mgr, sample.path.c_str(), desc, 0) != 0 ||
        file.write_block(frames.data(), 0, len) != 0 || file.close() != 0) {
        throw std::runtime_error(sample.path + ": cannot be written");
    }
    _sample_arr.push_back(sample);
}

std::vector<Sample const*> Material::list(int chn, int least, int most) const {
    std::vector<Sample const*> result;
    for (Sample const& sample : _sample_arr) {
        int const nbr_chn = sample.facts.nbr_chn;
        if (sample.chn == chn && nbr_chn >= least && nbr_chn <= most) {
            result.push_back(&sample);
        }
    }
    return result;
}

} // namespace soak
