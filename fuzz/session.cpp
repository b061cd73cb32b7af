// Sessions: TOML or JSON, by the first byte. Whatever the text is, it is read or refused with
// places; what is read keeps the documented ranges.

#include "SessionFuzzCheck.h"
#include "host/session/SessionReader.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ulk::host::session;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    auto const format =
        data[0] % 2 == 0 ? SessionReader::Format::TOML : SessionReader::Format::JSON;
    std::string_view const txt(reinterpret_cast<char const*>(data) + 1, size - 1);
    Diagnostics diagnostics;
    Session const session =
        SessionReader::parse(txt, format, "/nowhere/at/all/session", diagnostics);
    SessionFuzzCheck::check_diagnostics(diagnostics, session, txt);
    if (!diagnostics.has_error()) {
        SessionFuzzCheck::check_session(session);
    }
    return 0;
}
