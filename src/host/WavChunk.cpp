#include "host/WavChunk.h"

#include "host/ByteReader.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace ulk::host {

namespace {

using Json = nlohmann::ordered_json;
using Decode = void (*)(ByteReader&, Json&);

constexpr int category_extensible = 0xFFFE;
constexpr std::size_t max_list_len = 100; // entries shown of a list

char const* get_category_name(std::uint64_t category) {
    switch (category) {
    case 1:
        return "integers";
    case 2:
        return "Microsoft ADPCM";
    case 3:
        return "floats";
    case 6:
        return "A-law";
    case 7:
        return "mu-law";
    case 0x11:
        return "IMA ADPCM";
    case 0x31:
        return "GSM 6.10";
    case 0x50:
        return "MPEG";
    case 0x55:
        return "MP3";
    case category_extensible:
        return "extensible";
    default:
        return "unknown";
    }
}

void decode_fmt(ByteReader& in, Json& fields) {
    auto const category = in.take_unsigned(2);
    fields["category"] = category;
    fields["category_name"] = get_category_name(category);
    fields["channels"] = in.take_unsigned(2);
    fields["sample_rate_hz"] = in.take_unsigned(4);
    fields["bytes_per_second"] = in.take_unsigned(4);
    fields["frame_bytes"] = in.take_unsigned(2);
    fields["bits"] = in.take_unsigned(2);
    if (category == category_extensible) {
        in.take_unsigned(2); // length of what follows
        fields["valid_bits"] = in.take_unsigned(2);
        fields["channel_mask"] = in.take_hex(4);
        auto const sub_category = in.take_unsigned(2);
        fields["sub_category"] = sub_category;
        fields["sub_category_name"] = get_category_name(sub_category);
        in.take_bytes(14);
    }
}

void decode_fact(ByteReader& in, Json& fields) {
    fields["frames"] = in.take_unsigned(4);
}

// count entries, of which the first ones are shown.
template <class F>
void decode_list(std::uint64_t count, Json& fields, char const* name, F decode) {
    fields[name] = Json::array();
    for (std::uint64_t pos = 0; pos < count && pos < max_list_len; ++pos) {
        fields[name].push_back(decode());
    }
    if (count > max_list_len) {
        fields[std::string(name) + "_in_all"] = count;
    }
}

void decode_smpl(ByteReader& in, Json& fields) {
    fields["manufacturer"] = in.take_hex(4);
    fields["product"] = in.take_hex(4);
    fields["sample_period_ns"] = in.take_unsigned(4);
    fields["root_key"] = in.take_unsigned(4);
    double const cents = std::ldexp(static_cast<double>(in.take_unsigned(4)), -32) * 100;
    fields["fine_tune_cents"] = std::round(cents * 100) / 100;
    fields["smpte_format"] = in.take_unsigned(4);
    fields["smpte_offset"] = in.take_hex(4);
    auto const nbr_loops = in.take_unsigned(4);
    in.take_bytes(4); // length of what follows the loops
    decode_list(nbr_loops, fields, "loops", [&in] {
        Json loop;
        loop["cue"] = in.take_unsigned(4);
        auto const kind = in.take_unsigned(4);
        loop["kind"] = kind == 0   ? "forward"
                       : kind == 1 ? "alternating"
                       : kind == 2 ? "backward"
                                   : "unknown";
        loop["first_frame"] = in.take_unsigned(4);
        loop["last_frame"] = in.take_unsigned(4);
        loop["fraction"] = in.take_unsigned(4);
        loop["count"] = in.take_unsigned(4);
        return loop;
    });
}

void decode_inst(ByteReader& in, Json& fields) {
    fields["root_key"] = in.take_unsigned(1);
    fields["fine_tune_cents"] = in.take_signed(1);
    fields["gain_db"] = in.take_signed(1);
    fields["lowest_key"] = in.take_unsigned(1);
    fields["highest_key"] = in.take_unsigned(1);
    fields["lowest_velocity"] = in.take_unsigned(1);
    fields["highest_velocity"] = in.take_unsigned(1);
}

void decode_cue(ByteReader& in, Json& fields) {
    decode_list(in.take_unsigned(4), fields, "points", [&in] {
        Json point;
        point["cue"] = in.take_unsigned(4);
        point["position"] = in.take_unsigned(4);
        point["chunk"] = in.take_text(4);
        in.take_bytes(8); // for chunks of silence and sound in turn, which nobody writes
        point["frame"] = in.take_unsigned(4);
        return point;
    });
}

// A chunk in a list; the content ends with a pad byte when its length is odd.
std::string_view take_sub_chunk(ByteReader& in, std::string& id) {
    id = in.take_text(4);
    std::size_t const len = in.take_unsigned(4);
    std::string_view const content = in.take_bytes(len);
    if (len % 2 == 1 && in.get_nbr_left() > 0) {
        in.take_bytes(1);
    }
    return content;
}

Json decode_label(std::string const& id, std::string_view content) {
    ByteReader in(content);
    Json label = {{"id", id}};
    if (id == "labl" || id == "note" || id == "ltxt") {
        label["cue"] = in.take_unsigned(4);
    }
    if (id == "ltxt") {
        label["frames"] = in.take_unsigned(4);
        label["purpose"] = in.take_text(4);
        in.take_bytes(8); // country, language, dialect, code page
    }
    if (label.contains("cue")) {
        label["text"] = in.take_text(in.get_nbr_left());
    } else {
        label["bytes"] = content.size();
    }
    return label;
}

void decode_info_or_labels(ByteReader& in, Json& fields) {
    std::string const kind = in.take_text(4);
    fields["kind"] = kind;
    if (kind != "INFO" && kind != "adtl") {
        return;
    }
    char const* const name = kind == "INFO" ? "texts" : "labels";
    fields[name] = Json::array();
    std::string id;
    while (in.get_nbr_left() > 1 && fields[name].size() < max_list_len) {
        std::string_view const content = take_sub_chunk(in, id);
        if (kind == "INFO") {
            ByteReader text(content);
            fields[name].push_back({{"id", id}, {"text", text.take_text(content.size())}});
        } else {
            fields[name].push_back(decode_label(id, content));
        }
    }
}

void decode_bext(ByteReader& in, Json& fields) {
    fields["description"] = in.take_text(256);
    fields["originator"] = in.take_text(32);
    fields["reference"] = in.take_text(32);
    fields["date"] = in.take_text(10);
    fields["time"] = in.take_text(8);
    fields["first_frame"] = in.take_unsigned(8);
    auto const version = in.take_unsigned(2);
    fields["version"] = version;
    in.take_bytes(64); // UMID
    auto const take_level = [&in] { return static_cast<double>(in.take_signed(2)) / 100; };
    if (version >= 2) {
        fields["loudness_lufs"] = take_level();
        fields["loudness_range_lu"] = take_level();
        fields["true_peak_dbtp"] = take_level();
        fields["momentary_max_lufs"] = take_level();
        fields["short_term_max_lufs"] = take_level();
        in.take_bytes(180);
    } else {
        in.take_bytes(190);
    }
    fields["coding_history"] = in.take_text(in.get_nbr_left());
}

struct Kind {
    std::string_view id;
    Decode decode;
};

constexpr Kind kind_arr[] = {{"fmt ", decode_fmt},  {"fact", decode_fact},
                             {"smpl", decode_smpl}, {"inst", decode_inst},
                             {"cue ", decode_cue},  {"LIST", decode_info_or_labels},
                             {"bext", decode_bext}};

} // namespace

nlohmann::ordered_json WavChunk::decode(std::string_view id, std::string_view content,
                                        std::string& problem) {
    for (Kind const& kind : kind_arr) {
        if (kind.id == id) {
            Json fields = Json::object();
            ByteReader in(content);
            try {
                kind.decode(in, fields);
            } catch (ByteReader::EndError const&) {
                problem = "is too short for what it holds";
            }
            return fields;
        }
    }
    return {};
}

} // namespace ulk::host
