#pragma once

#include "host/Bundle.h"
#include "host/engine/Engine.h"
#include "host/engine/Feeder.h"
#include "host/engine/NotePlan.h"
#include "host/engine/Recorder.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ulk::host::engine {

// Renders a session, waiting for the disk wherever it must: no data ever comes too late, and the
// same bits come out on every run. Used once. Control side.
class Renderer {
public:
    using Session = session::Session;

    struct Settings {
        double sample_freq = 48000; // Hz
        double from = 0;            // s of the session
        double to = -1;             // below 0: the end of all clips, and tail behind it
        double tail = 0;            // s
        long block_len = 1024;      // frames
        int nbr_jobs = 1;           // threads
        long long cache_len = 0;    // bytes; 0 for what the session asks for, within reason
    };

    struct Stat {
        long long nbr_frames = 0;     // made
        bool complete_flag = false;   // all of them
        int max_sounding = 0;         // notes at once
        long long nbr_notes = 0;      // within the span, dropped ones included
        CacheService::Size cache{};   // its memory
        long max_cells = 0;           // of it needed at once
        long long nbr_slices = 0;     // in which the disk was read and written
        long long nbr_prefetches = 0; // that were asked for ahead of the voices
        long long nbr_cells_read = 0;
        long long nbr_waits = 0;   // spans that needed the disk
        double stem_deviation = 0; // largest difference between the stems' sum and the mix
    };

    // What takes the sound as it is made: one buffer a channel, len frames.
    using Listener = std::function<void(float const* const* chn_arr, long len)>;

    // fact_arr: by sample. bundle and session outlive the object. Throws an Error.
    Renderer(Bundle& bundle, Session const& session, std::vector<SampleFacts> const& fact_arr,
             Settings const& settings);
    ~Renderer();

    long long get_len() const { return _len; } // frames to be made
    // The tracks whose output is the mix, by index: each has a stem, and they sum to the mix.
    std::vector<int> list_stems() const;

    // Before run(): where the sound goes. A listener may be empty, and so may a path.
    void add_mix_output(std::string const& path, sacc::SplFileBitFmt bit_fmt,
                        Listener const& listener);
    void add_stem_output(int track, std::string const& path, sacc::SplFileBitFmt bit_fmt,
                         Listener const& listener);
    void set_time_listener(std::function<void(double)> const& listener) { // s of work on a block
        _time_listener = listener;
    }

    // Called between blocks with the frames done; false ends the render early.
    using Progress = std::function<bool(long long done)>;
    // Throws an Error; what was made until then is in the files.
    void run(Progress const& progress);

    // Below: after run(), also after its failure.

    Stat const& use_stat() const { return _stat; }
    std::vector<Feeder::Loss> const& use_dropped() const { return _feeder->use_dropped(); }
    std::vector<Feeder::Loss> const& use_holes() const { return _feeder->use_holes(); }
    double conv_to_time(long long engine_frame) const; // s of the session

private:
    struct Output {
        int track; // Session::master for the mix
        std::string path;
        sacc::SplFileBitFmt bit_fmt;
        Listener listener;
        std::unique_ptr<Recorder> recorder;
    };

    void check_file_len(Output const& output) const;
    void set_up();
    long find_max_span() const;
    CacheService::Size find_cache_size() const;
    [[noreturn]] void refuse_cache() const;
    void make_span(long len);
    void make_block(long len);
    void deliver(long skip, long len);
    void deliver_to(Output& output, float* const* chn_arr, long skip, long len);
    void validate_files();
    void close_files();

    Bundle& _bundle;
    Session const& _session;
    std::vector<SampleFacts> _fact_arr;
    Settings _settings;
    NotePlan::Settings _plan_settings;
    std::unique_ptr<NotePlan> _plan;
    long long _len = 0;
    long long _skip = 0; // engine frames before the first that is delivered
    std::function<void(double)> _time_listener;
    Stat _stat;

    std::unique_ptr<CacheService> _cache;
    std::vector<Output> _output_arr; // their recorders stand on the cache
    std::unique_ptr<SampleStore> _store;
    std::vector<SampleStore::Id> _id_arr; // by sample
    std::unique_ptr<Engine> _engine;
    std::unique_ptr<Feeder> _feeder;
    WorkerPool _pool;
    PinBuffers _buf; // pins: silence, stem, sum of the stems
    bool _stem_flag = false;
};

} // namespace ulk::host::engine
