// Lists of clips: read or refused with places, within the documented ranges; and what the reader of
// rows takes, it takes again when it is written anew.

#include "SessionFuzzCheck.h"
#include "host/session/ClipList.h"
#include "host/session/CsvReader.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using namespace ulk::host::session;

namespace {

using Rows = std::vector<std::vector<CsvReader::Cell>>;

Rows read_rows(std::string_view txt, Diagnostics& diagnostics) {
    CsvReader reader(txt, 0, diagnostics);
    Rows row_arr;
    for (std::vector<CsvReader::Cell> row; reader.read_row(row);) {
        SessionFuzzCheck::check(!row.empty());
        row_arr.push_back(row);
    }
    return row_arr;
}

std::string write_rows(Rows const& row_arr) {
    std::string txt;
    for (auto const& row : row_arr) {
        for (auto const& cell : row) {
            txt += &cell == row.data() ? "\"" : ",\"";
            for (char const c : cell.txt) {
                txt += c == '"' ? "\"\"" : std::string(1, c);
            }
            txt += '"';
        }
        txt += '\n';
    }
    return txt;
}

void check_rows(std::string_view txt) {
    Diagnostics diagnostics;
    Rows const row_arr = read_rows(txt, diagnostics);
    Diagnostics none;
    Rows const back_arr = read_rows(write_rows(row_arr), none);
    SessionFuzzCheck::check(!none.has_error() && row_arr.size() == back_arr.size());
    for (std::size_t pos = 0; pos < row_arr.size(); ++pos) {
        SessionFuzzCheck::check(row_arr[pos].size() == back_arr[pos].size());
        for (std::size_t col = 0; col < row_arr[pos].size(); ++col) {
            SessionFuzzCheck::check(row_arr[pos][col].txt == back_arr[pos][col].txt);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const txt(reinterpret_cast<char const*>(data), size);
    check_rows(txt);
    Session session;
    session.file_arr = {"/nowhere/at/all/clips.csv"};
    Diagnostics diagnostics;
    ValueReader values(diagnostics);
    TempoMap map(97, 3);
    map.add_change(6, 120, 4);
    values.set_tempo_map(map);
    SampleTable samples(session, diagnostics, nullptr);
    samples.add_name("kick", {0, 1, 1}, "kick.wav");
    ClipReader reader(values, samples);
    std::vector<Session::Clip> clip_arr;
    ClipList::parse(txt, 0, reader, clip_arr, diagnostics);
    diagnostics.sort();
    SessionFuzzCheck::check_diagnostics(diagnostics, session, txt);
    for (auto const& clip : clip_arr) {
        SessionFuzzCheck::check_clip(clip, session.sample_arr.size());
    }
    return 0;
}
