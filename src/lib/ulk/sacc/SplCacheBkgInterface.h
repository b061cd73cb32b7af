#pragma once

namespace ulk::sacc {

// What the background thread sees of the sample cache.
class SplCacheBkgInterface {
public:
    virtual ~SplCacheBkgInterface() = default;

    // Writes out what was recorded and reads what was asked for. True: stopped on its budget, run
    // another soon. Waits for the disk; any thread but the real-time one.
    virtual bool do_run_slice() = 0;
};

} // namespace ulk::sacc
