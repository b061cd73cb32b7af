#include "host/engine/SampleStore.h"

#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/vendor_cmd.h"

namespace ulk::host::engine {

SampleStore::SampleStore(CacheService& cache, int max_open)
    : _cache(cache)
    , _max_open(max_open) {}

SampleStore::~SampleStore() {
    for (Entry& entry : _entry_arr) {
        if (entry.state == State::OPEN) {
            close(entry);
        }
    }
}

SampleStore::Id SampleStore::add(std::string const& path, SampleFacts const& facts) {
    Entry entry;
    entry.path = path;
    entry.facts = facts;
    entry.state = facts.len > 0 ? State::CLOSED : State::FAILED;
    _entry_arr.push_back(entry);
    return static_cast<Id>(_entry_arr.size());
}

bool SampleStore::hold(Id id) {
    Entry& entry = use(id);
    ++entry.nbr_holds;
    if (entry.state == State::CLOSED) {
        // The system may refuse for the number of files alone.
        while (!open(entry) && close_oldest()) {
        }
    }
    if (entry.state == State::CLOSED) {
        entry.state = State::FAILED;
    }
    return entry.state == State::OPEN;
}

void SampleStore::give_back(Id id) {
    Entry& entry = use(id);
    if (--entry.nbr_holds > 0 || entry.state != State::OPEN) {
        return;
    }
    if (!entry.resting_flag) {
        entry.resting_flag = true;
        _rest_list.push_back(id);
    }
    while (_nbr_open > _max_open && close_oldest()) {
    }
}

// Of the files that nobody holds; false when there is none.
bool SampleStore::close_oldest() {
    while (!_rest_list.empty()) {
        Entry& oldest = use(_rest_list.front());
        _rest_list.pop_front();
        oldest.resting_flag = false;
        if (oldest.nbr_holds == 0 && oldest.state == State::OPEN) {
            close(oldest);
            return true;
        }
    }
    return false;
}

bool SampleStore::open(Entry& entry) {
    auto& cache = _cache.use_cache();
    if (cache.open_file(entry.file_id, entry.path.c_str(), false) != 0) {
        return false;
    }
    ++_nbr_open;
    SampleFacts facts;
    archi::Int64 len = 0;
    bool const same_flag = cache.get_length(entry.file_id, len) == 0 && len == entry.facts.len &&
                           cache.get_nbr_chn(entry.file_id, facts.nbr_chn) == 0 &&
                           facts.nbr_chn == entry.facts.nbr_chn &&
                           cache.get_sample_freq(entry.file_id, facts.sample_freq) == 0 &&
                           facts.sample_freq == entry.facts.sample_freq;
    if (!same_flag) {
        close(entry);
        return false;
    }
    entry.state = State::OPEN;
    return true;
}

void SampleStore::close(Entry& entry) {
    _cache.use_cache().close_file(entry.file_id);
    entry.state = State::CLOSED;
    --_nbr_open;
}

void SampleStore::prefetch(Id id, Note::Range const& range) {
    _cache.use_cache().prefetch_data(use(id).file_id, range.beg,
                                     static_cast<long>(range.end - range.beg));
}

long long SampleStore::count_missing(Id id, Note::Range const& range) {
    long long missing = 0;
    walk_gaps(id, range, [&](Note::Range const& gap) { missing += gap.end - gap.beg; });
    return missing;
}

int SampleStore::do_execute(int cmd, void* data) {
    using namespace ace::baplug;
    if (cmd == CMD_VENDOR_USE_CACHE) {
        static_cast<UseCache*>(data)->cache_ptr = &_cache.use_cache();
        return 0;
    }
    if (cmd != CMD_VENDOR_GET_SAMPLE_INFO) {
        return ace::Err_NOT_IMPLEMENTED;
    }
    auto& info = *static_cast<SampleInfo*>(data);
    if (!is_known(info.sample_id) || use(info.sample_id).state != State::OPEN) {
        return ace::Err_INVALID_IDENTIFIER;
    }
    Entry const& entry = use(info.sample_id);
    info.cache_id = entry.file_id;
    info.len = entry.facts.len;
    info.sample_freq = entry.facts.sample_freq;
    info.nbr_chn = entry.facts.nbr_chn;
    return 0;
}

} // namespace ulk::host::engine
