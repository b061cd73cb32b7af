#include "host/engine/SessionConverter.h"

#include "host/Error.h"

#include <atomic>
#include <cmath>
#include <map>
#include <mutex>

namespace ulk::host::engine {

namespace {

using session::Session;

// A sample at a pitch.
struct Job {
    int sample;
    double pitch; // semitones
    ConversionStore::Result result;

    double get_speed() const { return std::exp2(pitch / 12); }
};

// The jobs that a session takes, each once, and which job is whose.
struct JobList {
    std::vector<Job> job_arr;
    std::map<std::pair<int, double>, int> job_map; // by sample and pitch

    void collect(Session const& session, std::vector<SampleFacts> const& fact_arr,
                 double sample_freq) {
        for (Session::Track const& track : session.track_arr) {
            for (Session::Clip const& clip : track.clips) {
                SampleFacts const& facts = fact_arr[static_cast<std::size_t>(clip.sample)];
                bool const plain_flag = clip.pitch == 0 && facts.sample_freq == sample_freq;
                int const job = static_cast<int>(job_arr.size());
                if (facts.len > 0 && !plain_flag &&
                    job_map.emplace(std::pair(clip.sample, clip.pitch), job).second) {
                    job_arr.push_back({clip.sample, clip.pitch, {}});
                }
            }
        }
    }
};

} // namespace

SessionConverter::Stat SessionConverter::convert(Session& session,
                                                 std::vector<SampleFacts>& fact_arr,
                                                 double sample_freq, ConversionStore const& store,
                                                 WorkerPool& pool, Progress const& progress) {
    JobList jobs;
    jobs.collect(session, fact_arr, sample_freq);
    int const nbr_jobs = static_cast<int>(jobs.job_arr.size());
    std::mutex mutex; // of the progress
    int nbr_done = 0;
    std::atomic<bool> stop_flag = false;
    pool.run(nbr_jobs, [&](int step) {
        Job& job = jobs.job_arr[static_cast<std::size_t>(step)];
        auto const sample = static_cast<std::size_t>(job.sample);
        if (!stop_flag) {
            job.result = store.find_or_make(session.sample_arr[sample].path, fact_arr[sample],
                                            job.get_speed(), sample_freq);
            std::lock_guard const lock(mutex);
            stop_flag = !progress(++nbr_done, nbr_jobs) || stop_flag;
        }
    });
    if (stop_flag) {
        throw Error(Error::Kind_LOST, "stopped");
    }

    Stat stat;
    int const first = static_cast<int>(session.sample_arr.size());
    for (Job const& job : jobs.job_arr) {
        auto const sample = static_cast<std::size_t>(job.sample);
        session.sample_arr.push_back({job.result.path, session.sample_arr[sample].place});
        fact_arr.push_back(job.result.facts);
        ++stat.nbr_converted;
        stat.nbr_made += job.result.made_flag ? 1 : 0;
    }
    for (Session::Track& track : session.track_arr) {
        for (Session::Clip& clip : track.clips) {
            if (auto const job = jobs.job_map.find({clip.sample, clip.pitch});
                job != jobs.job_map.end()) {
                clip.sample = first + job->second;
                clip.offset /= std::exp2(clip.pitch / 12);
                clip.pitch = 0;
            }
            clip.offset = std::round(clip.offset * sample_freq) / sample_freq;
        }
    }
    return stat;
}

} // namespace ulk::host::engine
