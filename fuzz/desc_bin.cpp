// Description documents in binary form: whatever is read writes a document that reads back the
// same, and goes through XML without loss whenever XML can hold it.

#include "DescFuzzDoc.h"

#include "ulk/prout/DescXml.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    DescFuzzDoc doc;
    if (doc.main.conv_from_bin(data, static_cast<int>(size)) != 0) {
        return 0;
    }
    auto const bin = doc.to_bin();
    DescFuzzDoc back;
    if (back.main.conv_from_bin(bin) != 0 || back.to_bin() != bin) {
        std::abort();
    }
    std::string xml;
    DescFuzzDoc from_xml;
    if (ulk::prout::DescXml::write(xml, doc.main) == 0 &&
        (ulk::prout::DescXml::read(from_xml.main, xml) != 0 || from_xml.to_bin() != bin)) {
        std::abort();
    }
    return 0;
}
