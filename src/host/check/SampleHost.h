#pragma once

#include "host/HostInterface.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <vector>

namespace ulk::host::check {

// A host that lends samples and a cache to plug-ins that ask for them. Any identifier names one of
// a few samples or, one in eight, none. Their data come into memory when load() is called.
class SampleHost : public HostInterface {
public:
    SampleHost(); // writes the samples to temporary files, gone at the end; throws an Error
    ~SampleHost() override;

    SampleHost(SampleHost const&) = delete;
    SampleHost& operator=(SampleHost const&) = delete;

    // Brings in what was asked for.
    void load();
    // Brings in everything, for good.
    void load_all();
    bool was_asked() const { return _asked_flag; }

protected:
    int do_execute(int cmd, void* data) override;

private:
    struct Sample {
        long cache_id;
        long long len;
        double sample_freq;
        int nbr_chn;
    };

    void add_sample(long len, double sample_freq, int nbr_chn);

    sys::Mutex _mutex_rt;
    sys::Mutex _mutex_bkg;
    sys::Mutex _mutex_file;
    sacc::SplFileMgr _file_mgr{_mutex_file};
    sacc::SplCache _cache{_mutex_rt, _mutex_bkg, _file_mgr};
    std::vector<Sample> _sample_list;
    bool _asked_flag = false;
};

} // namespace ulk::host::check
