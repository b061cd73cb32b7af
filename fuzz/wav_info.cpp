// What is told of a sound file: its chunks against a walk of its own over the same bytes, its
// sound, as the sample library sees it, against those chunks, and both against libsndfile where a
// WAV file has nothing to complain about.

#include "host/WavInfo.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#if __has_include(<sndfile.h>)
#include <sndfile.h>
#endif

namespace {

using Json = nlohmann::ordered_json;

void require(bool ok_flag, char const* what) {
    if (!ok_flag) {
        std::fprintf(stderr, "disagreement: %s\n", what);
        std::abort();
    }
}

struct Chunk {
    long pos;
    std::string id;
    std::uint32_t size;
    long held; // bytes of it that are there
};

class Model {
public:
    Model(std::uint8_t const* data, std::size_t len)
        : _data(data)
        , _len(static_cast<long>(len)) {}

    bool is_wav() const {
        return _len >= 12 && std::memcmp(_data, "RIFF", 4) == 0 &&
               std::memcmp(_data + 8, "WAVE", 4) == 0;
    }
    std::vector<Chunk> list_chunks() const {
        std::vector<Chunk> chunk_arr;
        for (long pos = 12; is_wav() && pos + 8 <= _len && chunk_arr.size() < 1000;) {
            auto const size = static_cast<std::uint32_t>(get(pos + 4, 4));
            long const end = pos + 8 + static_cast<long>(size);
            chunk_arr.push_back(
                {pos, read_id(pos), size, std::min(static_cast<long>(size), _len - pos - 8)});
            bool const pad_flag = size % 2 == 1 && end < _len && !is_id(end);
            pos = end + (pad_flag ? 1 : 0);
        }
        return chunk_arr;
    }
    std::uint64_t get(long pos, int nbr_bytes) const {
        std::uint64_t val = 0;
        for (int b = nbr_bytes - 1; b >= 0; --b) {
            val = val << 8 | _data[pos + b];
        }
        return val;
    }

private:
    bool is_id(long pos) const {
        return pos + 4 <= _len && std::all_of(_data + pos, _data + pos + 4,
                                              [](std::uint8_t c) { return c >= 32 && c < 127; });
    }
    std::string read_id(long pos) const {
        std::string id;
        for (long c = pos; c < pos + 4 && _data[c] != 0; ++c) {
            id += _data[c] < 32 || _data[c] == 127 ? '?' : static_cast<char>(_data[c]);
        }
        return id;
    }

    std::uint8_t const* _data;
    long _len;
};

// Numbers of a chunk as far as it goes, by name and place; the rest is not told.
struct Field {
    char const* name;
    int pos;
    int nbr_bytes;
};
constexpr Field fmt_arr[] = {{"category", 0, 2},       {"channels", 2, 2},
                             {"sample_rate_hz", 4, 4}, {"bytes_per_second", 8, 4},
                             {"frame_bytes", 12, 2},   {"bits", 14, 2}};
constexpr Field fact_arr[] = {{"frames", 0, 4}};
constexpr Field smpl_arr[] = {
    {"sample_period_ns", 8, 4}, {"root_key", 12, 4}, {"smpte_format", 20, 4}};
constexpr Field inst_arr[] = {{"root_key", 0, 1}, {"lowest_key", 3, 1}, {"highest_velocity", 6, 1}};
constexpr Field bext_arr[] = {{"first_frame", 338, 8}, {"version", 346, 2}};

template <std::size_t N>
void check_numbers(Model const& model, Chunk const& chunk, Json const& fields,
                   Field const (&field_arr)[N]) {
    for (Field const& field : field_arr) {
        bool const there_flag = field.pos + field.nbr_bytes <= chunk.held;
        require(fields.contains(field.name) == there_flag, "which numbers are told");
        require(!there_flag || fields[field.name].template get<std::uint64_t>() ==
                                   model.get(chunk.pos + 8 + field.pos, field.nbr_bytes),
                field.name);
    }
}

// frame_len, rate: of the description before it.
void check_data(Chunk const& chunk, Json const& fields, long frame_len, std::uint64_t rate) {
    require(fields.contains("frames") == (frame_len > 0), "frames without a format");
    if (frame_len > 0) {
        long const nbr_frames = chunk.held / frame_len;
        require(fields["frames"].get<long>() == nbr_frames, "number of frames");
        require(fields.contains("duration_s") == (rate > 0), "time without a rate");
        require(rate == 0 ||
                    std::fabs(fields["duration_s"].get<double>() * static_cast<double>(rate) -
                              static_cast<double>(nbr_frames)) <=
                        1e-6 * static_cast<double>(rate) + 1e-3,
                "duration");
    }
}

void check_chunks(Model const& model, Json const& info) {
    auto const expected_arr = model.list_chunks();
    require(info["chunks"].size() == expected_arr.size(), "number of chunks");
    long frame_len = 0;
    std::uint64_t rate = 0;
    for (std::size_t index = 0; index < expected_arr.size(); ++index) {
        Chunk const& chunk = expected_arr[index];
        Json const& told = info["chunks"][index];
        require(told["offset"].get<long>() == chunk.pos && told["id"] == chunk.id &&
                    told["bytes"].get<std::uint32_t>() == chunk.size,
                "a chunk");
        // What is told of a known chunk. Identifiers with a zero byte show as shorter texts.
        Json const fields = told.value("fields", Json::object());
        if (chunk.id == "fmt ") {
            check_numbers(model, chunk, fields, fmt_arr);
            frame_len = chunk.held >= 14 ? static_cast<long>(model.get(chunk.pos + 20, 2)) : 0;
            rate = chunk.held >= 8 ? model.get(chunk.pos + 12, 4) : 0;
        } else if (chunk.id == "data") {
            check_data(chunk, fields, frame_len, rate);
        } else if (chunk.id == "fact") {
            check_numbers(model, chunk, fields, fact_arr);
        } else if (chunk.id == "smpl") {
            check_numbers(model, chunk, fields, smpl_arr);
        } else if (chunk.id == "inst") {
            check_numbers(model, chunk, fields, inst_arr);
        } else if (chunk.id == "bext") {
            check_numbers(model, chunk, fields, bext_arr);
        } else if (chunk.id != "LIST" && chunk.id != "cue ") {
            require(!told.contains("fields"), "an unknown chunk");
        }
    }
}

// Whatever a file holds, it goes to a terminal as lines of text.
void check_text(std::string const& path, Json const& info) {
    std::string const txt = ulk::host::WavInfo::print(info);
    require(txt.starts_with(path) && txt.ends_with("\n"), "text");
    require(std::none_of(txt.begin(), txt.end(),
                         [](char c) {
                             return (static_cast<unsigned char>(c) < ' ' && c != '\n') || c == 127;
                         }),
            "the text has control characters");
    for (Json const& problem : info["problems"]) {
        require(txt.find(problem.get<std::string>()) != std::string::npos, "a problem is not told");
    }
    std::string const json = info.dump(-1, ' ', false, Json::error_handler_t::replace);
    require(Json::parse(json)["bytes"] == info["bytes"], "JSON");
}

// Of a plain file.
void check_sound(std::string const& path, Json const& info) {
    auto const find = [&info](char const* id) {
        return (*std::find_if(info["chunks"].begin(), info["chunks"].end(),
                              [id](Json const& chunk) { return chunk["id"] == id; }))["fields"];
    };
    Json const fmt = find("fmt ");
    Json const data = find("data");
    Json const sound = info["sound"];
    require(sound["frames"] == data["frames"] && sound["channels"] == fmt["channels"] &&
                sound["sample_rate_hz"] == fmt["sample_rate_hz"],
            "the sound is not what the chunks tell");
#if __has_include(<sndfile.h>)
    SF_INFO other = {};
    auto* const snd = sf_open(path.c_str(), SFM_READ, &other);
    if (snd != nullptr) {
        require(sound["frames"] == other.frames && sound["channels"] == other.channels &&
                    sound["sample_rate_hz"] == other.samplerate,
                "libsndfile sees another sound");
        sf_close(snd);
    }
#else
    (void)path;
#endif
}

// A description and sound once each, whole frames of whole bytes, and nothing odd about it.
bool is_plain(Model const& model, Json const& info) {
    auto const chunk_arr = model.list_chunks();
    auto const count = [&chunk_arr](char const* id) {
        return std::count_if(chunk_arr.begin(), chunk_arr.end(),
                             [id](Chunk const& chunk) { return chunk.id == id; });
    };
    if (!info["usable"].get<bool>() || !info["problems"].empty() || count("fmt ") != 1 ||
        count("data") != 1) {
        return false;
    }
    auto const fmt = std::find_if(chunk_arr.begin(), chunk_arr.end(),
                                  [](Chunk const& chunk) { return chunk.id == "fmt "; });
    auto const bits = model.get(fmt->pos + 22, 2);
    auto const frame_len = model.get(fmt->pos + 20, 2);
    return fmt->size == 16 && frame_len == model.get(fmt->pos + 10, 2) * bits / 8 &&
           model.get(fmt->pos + 16, 4) == frame_len * model.get(fmt->pos + 12, 4) &&
           (model.get(fmt->pos + 8, 2) == 1 || bits == 32);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t len) {
    static std::string const path = std::filesystem::temp_directory_path() /
                                    ("fuzz_wav_info_" + std::to_string(::getpid()) + ".wav");
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    require(file != nullptr && std::fwrite(data, 1, len, file) == len, "cannot write the file");
    std::fclose(file);

    Model const model(data, len);
    Json const info = ulk::host::WavInfo::make(path);
    require(info["bytes"] == len, "length");
    require(info["usable"].get<bool>() != info.contains("reason"), "a reason");
    require(info["usable"].get<bool>() || !info["reason"].get<std::string>().empty(), "no reason");
    require(info["usable"].get<bool>() == info.contains("sound"), "sound");
    require(model.is_wav() || info["problems"].size() + info.count("kind") == 1,
            "what is no WAV file");
    check_chunks(model, info);
    check_text(path, info);
    if (is_plain(model, info)) {
        check_sound(path, info);
    }
    std::filesystem::remove(path);
    return 0;
}
