// Any bytes through the stream's reading operations, beside a model that keeps the position with
// plain arithmetic: nothing is read outside, positions and results agree, and what was read is
// written back to the same bytes.
#include "ulk/udbg/LogMgr.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

using ulk::util::BinaryStreamInput;
using ulk::util::BinaryStreamOutput;
using Bytes = std::vector<unsigned char>;

namespace {

void require(bool flag) {
    if (!flag) {
        std::abort();
    }
}

template <class T>
void check_value(BinaryStreamInput& in, Bytes const& data, unsigned long len) {
    unsigned long const pos = in.tell();
    T value{};
    int const ret = in.read(value, nullptr);
    require(ret == (data.size() - pos >= len ? 0 : -3994));
    if (ret == 0) {
        require(in.tell() == pos + len);
        Bytes back;
        BinaryStreamOutput(back).write(value);
        require(back == Bytes(data.begin() + static_cast<long>(pos),
                              data.begin() + static_cast<long>(pos + len)));
    } else {
        require(in.tell() == pos || (len == 8 && in.tell() == pos + 4));
    }
}

void check_string(BinaryStreamInput& in) {
    unsigned long const pos = in.tell();
    std::string txt = "kept";
    if (in.read(txt, nullptr) == 0) {
        require(in.tell() == pos + 4 + txt.size());
    } else {
        require(txt == "kept" && (in.tell() == pos || in.tell() == pos + 4));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
    ulk::udbg::LogMgr::create_empty_if_not_existing();
    std::size_t const nbr_op = size < 1 ? 0 : bytes[0] % 32U;
    if (size < 1 + nbr_op) {
        return 0;
    }
    Bytes const data(bytes + 1 + nbr_op, bytes + size);
    BinaryStreamInput in(data);
    for (std::size_t i = 0; i < nbr_op; ++i) {
        int const op = bytes[1 + i] & 15;
        long const param = bytes[1 + i] >> 4;
        std::vector<std::string> txt_list;
        std::vector<int> int_list;
        unsigned char const* ptr = nullptr;
        switch (op) {
        case 0:
            check_value<unsigned char>(in, data, 1);
            break;
        case 1:
            check_value<short>(in, data, 2);
            break;
        case 2:
            check_value<unsigned>(in, data, 4);
            break;
        case 3:
            check_value<long long>(in, data, 8);
            break;
        case 4:
            check_value<float>(in, data, 4);
            break;
        case 5:
            check_value<double>(in, data, 8);
            break;
        case 6:
            check_string(in);
            break;
        case 7:
            in.read(txt_list, "list");
            break;
        case 8:
            in.read(int_list, "list");
            break;
        case 9:
            require(in.read(ptr, static_cast<unsigned long>(param), "") == 0 || ptr == nullptr);
            break;
        case 10:
            in.seek_beg(static_cast<unsigned long>(param), "");
            break;
        case 11:
            in.seek_end(static_cast<unsigned long>(param), "");
            break;
        case 12:
            in.advance(param, "");
            break;
        default:
            in.advance(-param, "");
            break;
        }
        require(in.tell() <= data.size() && in.size() == data.size() - in.tell());
        require(txt_list.size() <= data.size() && int_list.size() <= data.size());
    }
    return 0;
}
