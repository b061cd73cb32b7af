#include "host/SoundFileFmtFactory.h"

#include "host/ChunkWalk.h"
#include "host/SoundFileFmt.h"

#include <cstring>
#include <optional>
#include <string_view>

namespace ulk::host {

namespace {

using Order = ChunkWalk::Order;

struct Start {
    std::string_view id;
    std::optional<Order> order; // of files made of chunks with lengths of 32 bits
};
constexpr Start start_arr[] = {{"RIFX", Order::BIG}, {"RF64", Order::LITTLE},
                               {"FORM", Order::BIG}, {"riff", {}},
                               {"fLaC", {}},         {"OggS", {}},
                               {".snd", {}},         {"caff", {}}};

} // namespace

int SoundFileFmtFactory::do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) {
    for (Start const& start : start_arr) {
        if (std::memcmp(header, start.id.data(), start.id.size()) == 0 &&
            (!start.order || ChunkWalk::is_bounded(file, *start.order))) {
            fmt = SoundFileFmt::number;
        }
    }
    return 0;
}

int SoundFileFmtFactory::do_create_format(mem::SharedPtr<sacc::SplFileFmtInterface>& fmt_ptr) {
    fmt_ptr = mem::SharedPtr<SoundFileFmt>::make();
    return 0;
}

} // namespace ulk::host
