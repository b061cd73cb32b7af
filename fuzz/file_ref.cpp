// The saved bytes of file references, given as they are or as changes to those of a real file: what
// loads is that very file, or another whose own bytes say so.

#include "ulk/sys/FileRef.h"
#include "ulk/sys/FileRefFactory.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

using ulk::sys::FileRef;
using ulk::sys::FileRefFactory;

namespace {

void require(bool flag) {
    if (!flag) {
        std::abort();
    }
}

struct Place {
    Place() {
        std::filesystem::create_directories(dir / "sub");
        for (char const* const name : {"file", "decoy", "sub/decoy"}) {
            std::ofstream(dir / name) << name;
        }
        ref = FileRefFactory::from_utf8_path((dir / "file").string());
        require(ref.get() != nullptr && ref->save(bytes) == 0);
    }

    std::filesystem::path dir = std::filesystem::temp_directory_path() / "tessitone-fuzz-file-ref";
    FileRefFactory::Ptr ref;
    std::vector<unsigned char> bytes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static Place const place;
    if (size == 0) {
        return 0;
    }
    if (data[0] % 4 == 0) {
        std::vector<unsigned char> const bytes(data + 1, data + size);
        auto const ref = FileRefFactory::load(bytes);
        if (ref.get() != nullptr) {
            std::vector<unsigned char> saved;
            require(ref->save(saved) == 0);
            require(*FileRefFactory::load(saved) == *ref);
        }
        return 0;
    }
    auto bytes = place.bytes;
    for (size_t i = 1; i + 1 < size; i += 2) {
        bytes[data[i] % bytes.size()] = data[i + 1];
    }
    if (data[0] % 4 == 2) {
        bytes.resize(data[0] % (bytes.size() + 1));
    }
    auto const ref = FileRefFactory::load(bytes);
    require(ref.get() == nullptr || *ref == *place.ref);
    return 0;
}
