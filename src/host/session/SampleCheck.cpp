#include "host/session/SampleCheck.h"

#include "host/SampleFileMgr.h"
#include "host/session/Node.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sys/Err.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace ulk::host::session {

namespace {

struct Reason {
    int code;
    char const* txt;
};
constexpr Reason reason_arr[] = {
    {sacc::Err_FORMAT_UNKNOWN,
     "holds no sound that can be read (WAV, RF64, W64, AIFF, FLAC, Ogg, AU and "
     "CAF files can be, but for MP3 and GSM in them)"},
    {sacc::Err_LEN_NOT_FIXED,
     "does not tell how long it is, as what is written to a pipe; convert it "
     "from file to file"},
    {sacc::Err_WAV_CHUNK_NOT_FOUND, "is a WAV file without a description or without sound"},
    {sacc::Err_WAV_CATEGORY, "is a WAV file of a kind that cannot be read"},
    {sacc::Err_WAV_BIT_DEPTH, "is a WAV file of other than 8, 16, 24 or 32 bits"},
    {sacc::Err_WAV_OUT_OF_RANGE, "has an impossible rate or number of channels"},
    {sacc::Err_WAV_INCONSISTENT_BIT_DEPTH, "is a WAV file that contradicts itself about its bits"},
    {sacc::Err_WAV_TRUNCATED, "ends before its sound does"},
    {sacc::Err_WAV_CHUNK_SIZE, "is a WAV file with broken chunks"},
    {sys::Err_FILE_READ_PAST_END, "is a WAV file that ends within its header"},
};

// Why a path is not even a file that can be opened; empty if it is one.
std::string find_file_reason(std::string const& path) {
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        return "does not exist";
    }
    if (error) {
        return "cannot be opened: " + error.message();
    }
    if (std::filesystem::is_directory(status)) {
        return "is a folder";
    }
    return std::filesystem::is_regular_file(status) ? "" : "is no regular file";
}

std::string find_reason(std::string const& path, int code) {
    for (Reason const& reason : reason_arr) {
        if (reason.code == code) {
            return reason.txt;
        }
    }
    if (!std::ifstream(path).is_open()) {
        return std::string("cannot be opened: ") + std::strerror(errno);
    }
    return "cannot be read (code " + std::to_string(code) + ")";
}

SampleCheck::Info look_into(std::string const& path, SampleFileMgr& file_mgr) {
    SampleCheck::Info info;
    info.reason = find_file_reason(path);
    if (!info.reason.empty()) {
        return info;
    }
    sacc::SplFileHnd hnd;
    if (int const code = hnd.open(file_mgr.use_mgr(), path.c_str(), false); code != 0) {
        info.reason = find_reason(path, code);
        return info;
    }
    info.len = hnd.get_length();
    info.sample_freq = hnd.get_sample_freq();
    info.nbr_chn = hnd.get_nbr_chn();
    hnd.close();
    return info;
}

double get_duration(SampleCheck::Info const& info) {
    return static_cast<double>(info.len) / info.sample_freq;
}

} // namespace

std::vector<SampleCheck::Info> SampleCheck::look(Session const& session) {
    SampleFileMgr file_mgr;
    std::vector<Info> info_arr;
    info_arr.reserve(session.sample_arr.size());
    for (auto const& sample : session.sample_arr) {
        info_arr.push_back(look_into(sample.path, file_mgr));
    }
    return info_arr;
}

bool SampleCheck::is_behind_end(Session::Clip const& clip, Info const& info) {
    return clip.offset > 0 && clip.offset >= get_duration(info);
}

double SampleCheck::find_duration(Session::Clip const& clip, Info const& info) {
    if (!info.reason.empty() || is_behind_end(clip, info)) {
        return 0;
    }
    double const speed = std::exp2(clip.pitch / 12);
    return std::min(clip.length, (get_duration(info) - clip.offset) / speed);
}

void SampleCheck::report(Session const& session, std::vector<Info> const& info_arr,
                         Diagnostic::Severity severity, Diagnostics& diagnostics) {
    std::vector<long> nbr_clips(info_arr.size());
    for (auto const& track : session.track_arr) {
        for (auto const& clip : track.clips) {
            auto const sample = static_cast<std::size_t>(clip.sample);
            Info const& info = info_arr[sample];
            ++nbr_clips[sample];
            if (info.reason.empty() && is_behind_end(clip, info)) {
                diagnostics.add({clip.place, severity,
                                 "the clip begins behind the end of its sample, which lasts " +
                                     Node::print_number(get_duration(info)) + " s"});
            }
        }
    }
    for (std::size_t pos = 0; pos < info_arr.size(); ++pos) {
        if (!info_arr[pos].reason.empty()) {
            std::string const clips =
                nbr_clips[pos] == 1 ? "1 clip" : std::to_string(nbr_clips[pos]) + " clips";
            diagnostics.add(
                {session.sample_arr[pos].place, severity,
                 session.sample_arr[pos].path + " " + info_arr[pos].reason + " (" + clips + ")"});
        }
    }
    diagnostics.sort();
}

} // namespace ulk::host::session
