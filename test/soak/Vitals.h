#pragma once

#include "soak/Verdict.h"

#include <vector>

namespace soak {

// The memory and the files of the process, looked at while all is closed. The first seconds warm
// up; from then on neither may grow.
class Vitals {
public:
    explicit Vitals(Verdict& verdict); // before any other thread

    void look(double time); // s since the start, ascending

    double get_first() const { return _point_arr.empty() ? _last.rss : _point_arr[0].rss; } // MiB
    double get_last() const { return _last.rss; }
    double get_heap() const { return _last.heap; }
    int get_nbr_files() const { return _last.nbr_files; }
    double find_slope() const; // MiB a minute, of the resident memory

private:
    struct Point {
        double time = 0; // s
        double rss = 0;  // MiB
        double heap = 0; // MiB in use
        int nbr_files = 0;
    };

    static Point measure(double time);

    Verdict& _verdict;
    Point _last;
    std::vector<Point> _point_arr;
};

} // namespace soak
