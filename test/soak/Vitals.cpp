#include "soak/Vitals.h"

#include "ulk/sys/RealTimeGuard.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <malloc.h>
#include <unistd.h>

namespace soak {

namespace {

constexpr double mib = 1024 * 1024;
constexpr double warm_up = 20;           // s
constexpr double max_heap_growth = 0.25; // MiB
constexpr double max_rss_growth = 8;     // MiB

} // namespace

// The C library would keep what is given back, more and more as it learns what is asked for.
Vitals::Vitals(Verdict& verdict)
    : _verdict(verdict) {
    ::mallopt(M_MMAP_THRESHOLD, 128 << 10);
    ::mallopt(M_TRIM_THRESHOLD, 128 << 10);
}

Vitals::Point Vitals::measure(double time) {
    ::malloc_trim(0);
    Point point;
    point.time = time;
    point.heap = static_cast<double>(::mallinfo2().uordblks) / mib;
    std::ifstream file("/proc/self/statm");
    double size = 0;
    file >> size >> point.rss;
    point.rss *= static_cast<double>(::sysconf(_SC_PAGESIZE)) / mib;
    file.close();
    point.nbr_files =
        static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
    return point;
}

// A sanitizer keeps what is freed, and looks for leaks by itself.
void Vitals::look(double time) {
    int const nbr_files = _last.nbr_files;
    _last = measure(time);
    if (nbr_files != 0 && _last.nbr_files != nbr_files) {
        _verdict.fail("open files: " + std::to_string(nbr_files) + " before, " +
                      std::to_string(_last.nbr_files) + " now");
    }
    if (time < warm_up) {
        return;
    }
    _point_arr.push_back(_last);
    Point const& first = _point_arr[0];
    bool const own_flag = ulk::sys::RealTimeGuard::is_complete();
    if (own_flag &&
        (_last.heap > first.heap + max_heap_growth || _last.rss > first.rss + max_rss_growth)) {
        _verdict.fail("memory grows: from " + std::to_string(first.heap) + " MiB in use and " +
                      std::to_string(first.rss) + " MiB resident to " + std::to_string(_last.heap) +
                      " and " + std::to_string(_last.rss));
    }
}

// By least squares.
double Vitals::find_slope() const {
    auto const nbr = static_cast<double>(_point_arr.size());
    double mean_time = 0;
    double mean_rss = 0;
    for (Point const& point : _point_arr) {
        mean_time += point.time / nbr;
        mean_rss += point.rss / nbr;
    }
    double product = 0;
    double square = 0;
    for (Point const& point : _point_arr) {
        product += (point.time - mean_time) * (point.rss - mean_rss);
        square += (point.time - mean_time) * (point.time - mean_time);
    }
    return square > 0 ? product / square * 60 : 0;
}

} // namespace soak
