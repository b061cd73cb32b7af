#pragma once

#include "host/HostInterface.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheRtInterface.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <vector>

namespace ulk::host::check {

// A host that lends samples and a cache to plug-ins that ask for them. Any identifier names one of
// a few samples; one in eight names none, and one in eight a sample that the cache does not know.
// Their data come into memory when load() is called. What it does in a call from a plug-in is not
// held against the plug-in.
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

    // The cache, as plug-ins see it.
    class LentCache : public sacc::SplCacheRtInterface {
    public:
        explicit LentCache(sacc::SplCache& cache)
            : _cache(cache) {}

    protected:
        int do_prefetch_data(sacc::SplCacheFileId file_id, archi::Int64 pos, long len) override;
        int do_get_data(sacc::SplCacheFileId file_id, archi::Int64 pos, long len,
                        sacc::SplCacheIteratorRead& it) override;
        int do_push_data(sacc::SplCacheFileId file_id, long len,
                         sacc::SplCacheIteratorWrite& it) override;

    private:
        sacc::SplCache& _cache;
    };

    void add_sample(long len, double sample_freq, int nbr_chn);

    sys::Mutex _mutex_rt;
    sys::Mutex _mutex_bkg;
    sys::Mutex _mutex_file;
    sacc::SplFileMgr _file_mgr{_mutex_file};
    sacc::SplCache _cache{_mutex_rt, _mutex_bkg, _file_mgr};
    LentCache _lent_cache{_cache};
    std::vector<Sample> _sample_list;
    bool _asked_flag = false;
};

} // namespace ulk::host::check
