// Plays and records live for long, on a disk that is slow and fails, and checks each frame:
//   soak MINUTES [--seed N]

#include "host/Bundle.h"
#include "soak/LogWatch.h"
#include "soak/Show.h"
#include "soak/Takes.h"
#include "soak/Vitals.h"
#include "ulk/sys/Interrupt.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <thread>

namespace soak {

namespace {

struct Settings {
    double minutes = 0;
    unsigned seed = 1;
};

bool read(Settings& settings, int argc, char** argv) {
    char* end = nullptr;
    if (argc == 4 && std::strcmp(argv[2], "--seed") == 0) {
        settings.seed = static_cast<unsigned>(std::strtoul(argv[3], &end, 10));
        if (*argv[3] == '\0' || *end != '\0') {
            return false;
        }
    } else if (argc != 2) {
        return false;
    }
    settings.minutes = std::strtod(argv[1], &end);
    return *argv[1] != '\0' && *end == '\0' && settings.minutes > 0 && settings.minutes <= 1e5;
}

class Soak {
public:
    explicit Soak(Settings const& settings)
        : _settings(settings)
        , _material(settings.minutes < 1 ? 300000 : 2000000)
        , _vitals(_verdict) {}

    bool run();

private:
    using Clock = std::chrono::steady_clock;

    double find_time() const {
        return std::chrono::duration<double>(Clock::now() - _begun).count();
    }
    void run_show(unsigned seed);
    void check_log(test::FaultyDisk::Stat const& stat);
    void print(char const* title) const;

    Settings _settings;
    Clock::time_point _begun = Clock::now();
    Verdict _verdict;
    Material _material;
    ulk::host::Bundle _bundle{BUILD_DIR "/baplug.so", nullptr, &LogWatch::receive};
    Vitals _vitals;
    Tally _tally;
};

void Soak::run_show(unsigned seed) {
    test::FaultyDisk disk(seed);
    Takes takes(_material.use_dir().make_name("take.wav"), disk, seed, _verdict);
    std::thread thread([&takes] { takes.run(); });
    Show show(_bundle, _material, disk, seed, _verdict);
    show.run();
    takes.stop();
    thread.join();
    show.add_to(_tally);
    takes.add_to(_tally);
    _tally.add(disk.get_stat());
    check_log(disk.get_stat());
}

// System calls fail when the disk does, and recordings lose frames while it rests. Nothing else
// goes wrong.
void Soak::check_log(test::FaultyDisk::Stat const& stat) {
    for (std::string const& line : LogWatch::take_errors()) {
        bool const call_flag =
            stat.nbr_failures > 0 &&
            (line.rfind("::", 0) == 0 || line.find("cannot decode") != std::string::npos);
        bool const memory_flag =
            line.find("Not enough free memory") != std::string::npos && stat.nbr_stalls > 0;
        if (!call_flag && !memory_flag) {
            _verdict.fail("the log has an error without a cause: " + line);
        }
    }
}

bool Soak::run() {
    double const end = _settings.minutes * 60;
    double next_print = 60;
    unsigned seed = _settings.seed;
    for (; _verdict.is_good() && find_time() < end && !ulk::sys::Interrupt::is_asked(); ++seed) {
        run_show(seed);
        _vitals.look(find_time());
        if (find_time() >= next_print) {
            print("after");
            next_print += 60;
        }
    }
    if (_tally.nbr_right == 0 || _tally.nbr_take_frames == 0) {
        _verdict.fail("nothing was played or recorded");
    }
    print("in all");
    if (!_verdict.is_good()) {
        std::printf("FAILED: %s\nagain: tools/soak %g --seed %u\n", _verdict.get_text().c_str(),
                    _settings.minutes, seed - 1);
    }
    return _verdict.is_good();
}

void Soak::print(char const* title) const {
    auto const conv_us = [](double ns) { return ns / 1000; };
    std::printf("%s %.1f min: %lld shows, %lld passes, %.1f min of sound, %lld notes, %lld frames "
                "right, %lld in holes (told %lld, %lld clips refused), %lld jumps, %lld late; "
                "%lld recordings of %lld frames, %lld lost, %lld failed; disk: %lld calls, %lld "
                "stalls, %lld errors; lock: %lld waits, 99.9 %% in %.1f us, at most %.1f; pass: "
                "99.9 %% in %.1f us; memory: %.1f MiB at first, %.1f now, %.3f a minute, %.2f in "
                "use; %d files\n",
                title, find_time() / 60, _tally.nbr_shows, _tally.nbr_passes,
                static_cast<double>(_tally.nbr_frames) / Material::freq / 60, _tally.nbr_notes,
                _tally.nbr_right, _tally.nbr_lost, _tally.nbr_told, _tally.nbr_refused,
                _tally.nbr_jumps, _tally.nbr_late, _tally.nbr_takes, _tally.nbr_take_frames,
                _tally.nbr_take_lost, _tally.nbr_takes_failed, _tally.disk.nbr_calls,
                _tally.disk.nbr_stalls, _tally.disk.nbr_failures, _tally.nbr_contended,
                conv_us(_tally.waits.find(0.999)),
                conv_us(static_cast<double>(_tally.waits.get_max())),
                conv_us(_tally.works.find(0.999)), _vitals.get_first(), _vitals.get_last(),
                _vitals.find_slope(), _vitals.get_heap(), _vitals.get_nbr_files());
    std::fflush(stdout);
}

} // namespace

} // namespace soak

int main(int argc, char** argv) {
    soak::Settings settings;
    if (!soak::read(settings, argc, argv)) {
        std::fprintf(stderr, "soak MINUTES [--seed N]\n");
        return 1;
    }
    soak::LogWatch::install();
    ulk::sys::Interrupt::install();
    try {
        return soak::Soak(settings).run() ? 0 : 3;
    } catch (std::exception const& e) {
        std::fprintf(stderr, "soak: %s\n", e.what());
        return 1;
    }
}
