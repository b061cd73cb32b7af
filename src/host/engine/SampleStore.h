#pragma once

#include "host/HostInterface.h"
#include "host/engine/CacheService.h"
#include "host/engine/Note.h"
#include "host/engine/NotePlan.h"
#include "ulk/sacc/SplCacheFileId.h"
#include "ulk/sacc/SplCacheIteratorRead.h"

#include <deque>
#include <string>
#include <vector>

namespace ulk::host::engine {

// The samples that plug-ins may play, by the identifiers that notes carry, and the host that
// answers the plug-ins' questions about them. Files are opened when they are held for the first
// time, and closed some time after nobody holds them any more, so that few are open at once.
// Control side but where told.
class SampleStore : public HostInterface {
public:
    using Id = long long; // 48 bits

    // max_open: files that stay open without being held, as long as no more are open in all.
    SampleStore(CacheService& cache, int max_open);
    ~SampleStore() override; // closes all

    SampleStore(SampleStore const&) = delete;
    SampleStore& operator=(SampleStore const&) = delete;

    Id add(std::string const& path, SampleFacts const& facts);
    // Opens the file unless it is open. False if that fails, or if it is not what facts told: the
    // sample is unusable then, for ever. Every hold is given back, also one that failed.
    bool hold(Id id);
    void give_back(Id id);
    bool is_usable(Id id) const { return use(id).state != State::FAILED; }
    int get_nbr_open() const { return _nbr_open; }

    // Below: of a sample that is held. real-time, within a pass.

    // Asks that source frames be brought into the cache's memory.
    void prefetch(Id id, Note::Range const& range);
    // How many of the source frames are not there.
    long long count_missing(Id id, Note::Range const& range);
    // Calls fnc(range) for those of a note's frames from a to b - 1 that lack source frames.
    template <class F>
    void walk_lost(Id id, Note const& note, long long a, long long b, F fnc);

protected:
    int do_execute(int cmd, void* data) override; // real-time

private:
    enum class State { CLOSED, OPEN, FAILED };

    struct Entry {
        std::string path;
        SampleFacts facts;
        State state = State::CLOSED;
        int nbr_holds = 0;
        bool resting_flag = false; // stands in the list of those given back
        sacc::SplCacheFileId file_id = 0;
    };

    Entry& use(Id id) { return _entry_arr[static_cast<std::size_t>(id - 1)]; }
    Entry const& use(Id id) const { return _entry_arr[static_cast<std::size_t>(id - 1)]; }
    bool is_known(Id id) const { return id > 0 && id <= static_cast<Id>(_entry_arr.size()); }
    bool open(Entry& entry);
    void close(Entry& entry);
    bool close_oldest();
    template <class F>
    void walk_gaps(Id id, Note::Range const& range, F fnc);

    CacheService& _cache;
    int _max_open;
    int _nbr_open = 0;
    std::vector<Entry> _entry_arr; // by identifier, from 1 on
    std::deque<Id> _rest_list;     // those given back, about the longest ago first
};

// Calls fnc(range) for each part of the range that is not there.
template <class F>
void SampleStore::walk_gaps(Id id, Note::Range const& range, F fnc) {
    if (range.end <= range.beg) {
        return;
    }
    sacc::SplCacheIteratorRead it;
    _cache.use_cache().get_data(use(id).file_id, range.beg,
                                static_cast<long>(range.end - range.beg), it);
    long long pos = range.beg;
    for (; it.is_rem_elt(); it.iterate()) {
        if (pos < it.get_data_pos_file()) {
            fnc(Note::Range{pos, it.get_data_pos_file()});
        }
        pos = it.get_data_pos_file() + it.get_data_len();
    }
    if (pos < range.end) {
        fnc(Note::Range{pos, range.end});
    }
}

template <class F>
void SampleStore::walk_lost(Id id, Note const& note, long long a, long long b, F fnc) {
    walk_gaps(id, note.find_range(a, b), [&](Note::Range const& gap) {
        if (auto const frames = note.find_frames(a, b, gap); frames.beg < frames.end) {
            fnc(frames);
        }
    });
}

} // namespace ulk::host::engine
