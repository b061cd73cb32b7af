#include "host/WavInfo.h"

#include "host/ByteReader.h"
#include "host/WavChunk.h"
#include "host/session/SampleCheck.h"
#include "host/session/Session.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace ulk::host {

namespace {

using Json = nlohmann::ordered_json;

constexpr long long riff_header_len = 12;
constexpr long long chunk_header_len = 8;
constexpr std::size_t max_nbr_chunks = 1000;

struct Start {
    std::string_view bytes;
    char const* name;
};

// Files of other kinds, which have no chunks that are known here.
constexpr Start start_arr[] = {{"RIFX", "a WAV file in big-endian order"},
                               {"RF64", "an RF64 file"},
                               {"BW64", "a BW64 file"},
                               {"riff", "a Wave64 file"},
                               {"FORM", "an AIFF file"},
                               {"fLaC", "a FLAC file"},
                               {"OggS", "an Ogg file"},
                               {"ID3", "an MP3 file"},
                               {".snd", "an AU file"},
                               {"caff", "a CAF file"}};

// Walks a file, and writes down what it meets.
class Walk {
public:
    Walk(std::string const& path, long long file_len, Json& info)
        : _file(path, std::ios::binary)
        , _file_len(file_len)
        , _info(info) {}

    void run() {
        _info["chunks"] = Json::array();
        _info["problems"] = Json::array();
        std::string const header = read(0, riff_header_len);
        if (header.size() < riff_header_len || !header.starts_with("RIFF") ||
            !header.ends_with("WAVE")) {
            tell_other_file(header);
            return;
        }
        check_riff_len(ByteReader(std::string_view(header).substr(4)).take_unsigned(4));
        long long pos = riff_header_len;
        while (pos + chunk_header_len <= _file_len && _info["chunks"].size() < max_nbr_chunks) {
            pos = read_chunk(pos);
        }
        tell_rest(pos);
    }

private:
    std::string read(long long pos, long long len) {
        std::string bytes(static_cast<std::size_t>(std::clamp<long long>(_file_len - pos, 0, len)),
                          '\0');
        _file.clear();
        _file.seekg(pos);
        _file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        bytes.resize(static_cast<std::size_t>(_file.gcount()));
        return bytes;
    }

    void add_problem(std::string const& txt) { _info["problems"].push_back(txt); }

    void tell_other_file(std::string const& header) {
        for (Start const& start : start_arr) {
            if (header.starts_with(start.bytes)) {
                _info["kind"] = start.name;
                return;
            }
        }
        add_problem("does not begin as a RIFF WAVE file does");
    }

    void check_riff_len(std::uint64_t riff_len) {
        auto const expected = static_cast<std::uint64_t>(_file_len - chunk_header_len);
        if (riff_len > expected) {
            add_problem("the RIFF header counts " + std::to_string(riff_len) +
                        " bytes behind it, and there are " + std::to_string(expected));
        } else if (riff_len < expected) {
            add_problem("the RIFF header leaves out the last " +
                        std::to_string(expected - riff_len) + " bytes");
        }
    }

    // Where the next chunk stands.
    long long read_chunk(long long pos) {
        std::string const header = read(pos, chunk_header_len);
        if (header.size() < chunk_header_len) {
            add_problem("cannot be read any further than byte " + std::to_string(pos));
            return _file_len;
        }
        std::string const id = header.substr(0, 4);
        auto const len =
            static_cast<long long>(ByteReader(std::string_view(header).substr(4)).take_unsigned(4));
        Json chunk = {{"offset", pos}, {"id", ByteReader(id).take_text(4)}, {"bytes", len}};
        long long const held = _file_len - pos - chunk_header_len;
        if (len > held) {
            add_problem("chunk \"" + ByteReader(id).take_text(4) + "\" states " +
                        std::to_string(len) + " bytes, and the file holds " + std::to_string(held) +
                        " of them");
        }
        add_fields(chunk, id, pos, std::min(len, held));
        _info["chunks"].push_back(chunk);
        return find_next(pos + chunk_header_len + len, len);
    }

    void add_fields(Json& chunk, std::string const& id, long long pos, long long len) {
        if (id == "data") {
            chunk["fields"] = make_data(len);
            return;
        }
        auto const max_len = static_cast<long long>(WavChunk::max_content_len);
        std::string problem;
        Json fields =
            WavChunk::decode(id, read(pos + chunk_header_len, std::min(len, max_len)), problem);
        if (id == "fmt ") {
            _fmt = fields;
        }
        if (!fields.is_null()) {
            chunk["fields"] = fields;
        }
        if (!problem.empty() && len < max_len) {
            add_problem("chunk \"" + id + "\" " + problem);
        }
    }

    // Of samples whose size is their number of bits.
    void check_frame_len(long long frame_len) {
        auto const category = _fmt.value("category", 0LL);
        auto const nbr_chn = _fmt.value("channels", 0LL);
        auto const nbr_bits = _fmt.value("bits", 0LL);
        long long const expected = nbr_chn * ((nbr_bits + 7) / 8);
        if ((category == 1 || category == 3) && frame_len != expected) {
            add_problem("frames of " + std::to_string(frame_len) + " bytes, where " +
                        std::to_string(nbr_chn) + " times " + std::to_string(nbr_bits) +
                        " bits take " + std::to_string(expected));
        }
    }

    Json make_data(long long len) {
        Json fields = Json::object();
        auto const frame_len = _fmt.value("frame_bytes", 0LL);
        if (frame_len > 0) {
            check_frame_len(frame_len);
            fields["frames"] = len / frame_len;
            if (auto const rate = _fmt.value("sample_rate_hz", 0LL); rate > 0) {
                double const s = static_cast<double>(len / frame_len) / static_cast<double>(rate);
                fields["duration_s"] = std::round(s * 1e6) / 1e6;
            }
            if (len % frame_len != 0) {
                add_problem("the last frame is not whole");
            }
        } else {
            add_problem("nothing before the sound tells its format");
        }
        return fields;
    }

    // A chunk of odd length has a pad byte, but some programs write none.
    long long find_next(long long end, long long len) {
        if (len % 2 == 0 || end >= _file_len) {
            return end;
        }
        std::string const id = read(end, 4);
        bool const unpadded_flag = id.size() == 4 && std::all_of(id.begin(), id.end(), [](char c) {
                                       return std::isprint(static_cast<unsigned char>(c));
                                   });
        if (unpadded_flag) {
            return end;
        }
        return end + 1;
    }

    void tell_rest(long long pos) {
        auto const has = [this](char const* id) {
            return std::any_of(_info["chunks"].begin(), _info["chunks"].end(),
                               [id](Json const& chunk) { return chunk["id"] == id; });
        };
        if (_info["chunks"].size() == max_nbr_chunks) {
            add_problem("has more than " + std::to_string(max_nbr_chunks) +
                        " chunks; the others are left out here");
        } else if (pos < _file_len) {
            add_problem("has " + std::to_string(_file_len - pos) +
                        " bytes at its end that are no chunk");
        }
        if (!has("fmt ")) {
            add_problem("has no chunk \"fmt \", which tells the format");
        }
        if (!has("data")) {
            add_problem("has no chunk \"data\", which holds the sound");
        }
    }

    std::ifstream _file;
    long long _file_len;
    Json& _info;
    Json _fmt = Json::object();
};

// As a sample, which has the last word.
session::SampleCheck::Info look(std::string const& path) {
    session::Session probe;
    probe.sample_arr.push_back({path, {}});
    return session::SampleCheck::look(probe).front();
}

std::string print_value(Json const& val) {
    if (val.is_string()) {
        return val.get<std::string>();
    }
    return val.dump();
}

std::string const field_indent(14, ' '); // below the identifiers

// Lists have a line an entry.
void print_field(std::string& txt, std::string const& name, Json const& val) {
    if (!val.is_array()) {
        txt += field_indent + name + ": " + print_value(val) + "\n";
        return;
    }
    for (Json const& entry : val) {
        std::string line;
        for (auto const& [key, part] : entry.items()) {
            line += (line.empty() ? "" : ", ") + key + " " + print_value(part);
        }
        txt += field_indent + name + ": " + line + "\n";
    }
}

std::string pad(std::string const& txt, std::size_t width) {
    return std::string(width - std::min(width, txt.size()), ' ') + txt;
}

} // namespace

nlohmann::ordered_json WavInfo::make(std::string const& path) {
    Json info = {{"path", path}};
    std::error_code error;
    auto const len = std::filesystem::is_regular_file(path, error)
                         ? std::filesystem::file_size(path, error)
                         : std::uintmax_t{0};
    session::SampleCheck::Info const sample = look(path);
    if (std::filesystem::is_regular_file(path, error) && std::ifstream(path).is_open()) {
        info["bytes"] = len;
        Walk(path, static_cast<long long>(len), info).run();
    }
    info["usable"] = sample.reason.empty();
    if (sample.reason.empty()) {
        info["sound"] = {{"frames", sample.len},
                         {"channels", sample.nbr_chn},
                         {"sample_rate_hz", static_cast<long long>(sample.sample_freq)}};
    } else {
        info["reason"] = sample.reason;
    }
    return info;
}

std::string WavInfo::print(nlohmann::ordered_json const& info) {
    std::string txt = info["path"].get<std::string>();
    if (info.contains("bytes")) {
        txt += ", " + info["bytes"].dump() + " bytes\n";
        if (info.contains("kind")) {
            txt += "  " + info["kind"].get<std::string>() + "\n";
        }
        for (Json const& chunk : info["chunks"]) {
            txt += pad(chunk["offset"].dump(), 10) + "  " + chunk["id"].get<std::string>() + "  " +
                   chunk["bytes"].dump() + " bytes\n";
            Json const fields = chunk.value("fields", Json::object());
            for (auto const& [name, val] : fields.items()) {
                print_field(txt, name, val);
            }
        }
        for (Json const& problem : info["problems"]) {
            txt += "  problem: " + problem.get<std::string>() + "\n";
        }
    } else {
        txt += "\n";
    }
    if (!info["usable"].get<bool>()) {
        return txt + "  cannot be used: it " + info["reason"].get<std::string>() + "\n";
    }
    Json const& sound = info["sound"];
    return txt + "  can be used: " + sound["frames"].dump() + " frames, " +
           sound["channels"].dump() + (sound["channels"] == 1 ? " channel, " : " channels, ") +
           sound["sample_rate_hz"].dump() + " Hz\n";
}

} // namespace ulk::host
