// Description documents as XML: whatever is read can be written, and what is written reads back
// the same in both forms.

#include "DescFuzzDoc.h"

#include "ulk/prout/DescXml.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using ulk::prout::DescXml;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    DescFuzzDoc doc;
    if (DescXml::read(doc.main, std::string(reinterpret_cast<char const*>(data), size)) != 0) {
        return 0;
    }
    std::string xml;
    DescFuzzDoc back;
    std::string again;
    if (DescXml::write(xml, doc.main) != 0 || DescXml::read(back.main, xml) != 0 ||
        DescXml::write(again, back.main) != 0 || again != xml || back.to_bin() != doc.to_bin()) {
        std::abort();
    }
    return 0;
}
