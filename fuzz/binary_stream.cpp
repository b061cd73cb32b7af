// Any bytes through the stream's operations, beside a model that knows the form by heart: results,
// positions and values agree after each, nothing is read outside, and what was read is written back
// to the same bytes.
#include "ulk/udbg/LogMgr.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

using ulk::util::BinaryStreamInput;
using ulk::util::BinaryStreamOutput;
using Bytes = std::vector<unsigned char>;
using Map = std::map<std::string, std::string>;

namespace {

void require(bool flag) {
    if (!flag) {
        std::abort();
    }
}

// Where the stream should stand, and what it should have read.
struct Model {
    Bytes const& data;
    std::uint64_t pos = 0;

    std::uint64_t left() const { return data.size() - pos; }
    bool skip(std::uint64_t len) {
        bool const flag = len <= left();
        pos += flag ? len : 0;
        return flag;
    }
    bool word(std::uint64_t& val) {
        std::uint64_t const beg = pos;
        val = 0;
        for (std::uint64_t i = beg; left() >= 4 && i < beg + 4; ++i) {
            val = val * 256 + data[i];
        }
        return skip(4);
    }
    bool text(std::string& txt) {
        std::uint64_t len = 0;
        if (!word(len) || len > left()) {
            return false;
        }
        txt.assign(data.begin() + static_cast<long>(pos),
                   data.begin() + static_cast<long>(pos + len));
        return skip(len);
    }
    bool count(std::uint64_t& nbr) { return word(nbr) && nbr <= left(); }
    bool map(Map& map) {
        std::uint64_t nbr = 0;
        bool flag = count(nbr);
        for (; flag && nbr > 0; --nbr) {
            std::string key;
            std::string val;
            flag = text(key) && text(val);
            if (flag) {
                map.emplace(key, val);
            }
        }
        return flag;
    }
    bool ints(std::vector<int>& list) {
        std::uint64_t nbr = 0;
        if (!count(nbr)) {
            return false;
        }
        auto const beg = list.size();
        list.resize(beg + nbr);
        for (auto i = beg; i < list.size(); ++i) {
            std::uint64_t val = 0;
            if (!word(val)) {
                return false;
            }
            list[i] = static_cast<int>(static_cast<std::uint32_t>(val));
        }
        return true;
    }
    bool move(std::int64_t to) { // to the nearest bound if it lies outside
        auto const size = static_cast<std::int64_t>(data.size());
        pos = static_cast<std::uint64_t>(to < 0 ? 0 : to > size ? size : to);
        return to >= 0 && to <= size;
    }
};

class Run {
public:
    explicit Run(Bytes const& data)
        : _data(data)
        , _in(data)
        , _model{data} {}

    void step(int op, long param) {
        switch (op) {
        case 0:
            return check_value<bool>(1);
        case 1:
            return check_value<signed char>(1);
        case 2:
            return check_value<short>(2);
        case 3:
            return check_value<unsigned>(4);
        case 4:
            return check_value<float>(4);
        case 5:
            return check_value<long long>(8);
        case 6:
            return check_value<double>(8);
        case 7:
            return check_object(std::string("kept"),
                                [&](std::string& txt) { return _model.text(txt); });
        case 8:
            return check_object(std::vector<int>{1, 2},
                                [&](std::vector<int>& list) { return _model.ints(list); });
        case 9:
            return check_object(Map{{"", "kept"}}, [&](Map& map) { return _model.map(map); });
        case 10:
            return check_in_place(static_cast<unsigned long>(param));
        case 11:
            return check(_in.seek_beg(static_cast<unsigned long>(param), ""), _model.move(param));
        case 12:
            return check(_in.seek_end(static_cast<unsigned long>(param), ""),
                         _model.move(static_cast<long>(_data.size()) - param));
        case 13:
            return check(_in.advance(param, ""),
                         _model.move(static_cast<long>(_model.pos) + param));
        case 14:
            return check(_in.advance(-param, ""),
                         _model.move(static_cast<long>(_model.pos) - param));
        default: // a copy starts anew
            _in = BinaryStreamInput(_in);
            _model.pos = 0;
            return check(0, true);
        }
    }

private:
    void check(int ret, bool flag) {
        require(ret == (flag ? 0 : -3994));
        require(_in.tell() == _model.pos && _in.size() == _model.left());
        require(_in.empty() == (_model.left() == 0));
    }

    template <class T>
    void check_value(unsigned long len) {
        unsigned long const beg = _model.pos;
        bool flag = _model.skip(len);
        if (!flag && len == 8) {
            _model.skip(4); // the first word is consumed
        }
        T value{};
        check(_in.read(value, nullptr), flag);
        if (flag) {
            Bytes back;
            BinaryStreamOutput(back).write(value);
            Bytes expected(_data.begin() + static_cast<long>(beg),
                           _data.begin() + static_cast<long>(_model.pos));
            if constexpr (std::is_same_v<T, bool>) {
                expected[0] = expected[0] != 0;
            }
            require(back == expected);
        }
    }

    template <class T, class FNC>
    void check_object(T value, FNC read_model) {
        T expected = value;
        bool const flag = read_model(expected);
        check(_in.read(value, nullptr), flag);
        require(value == expected);
    }

    void check_in_place(unsigned long len) {
        unsigned long const beg = _model.pos;
        unsigned char const* ptr = _data.data();
        bool const flag = _model.skip(len);
        check(_in.read(ptr, len, ""), flag);
        require(ptr == (flag ? _data.data() + beg : nullptr));
    }

    Bytes const& _data;
    BinaryStreamInput _in;
    Model _model;
};

} // namespace

// The first byte tells how many operations follow; then come their codes, then the stream.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
    ulk::udbg::LogMgr::create_empty_if_not_existing();
    std::size_t const nbr_op = size < 1 ? 0 : bytes[0] % 32U;
    if (size < 1 + nbr_op) {
        return 0;
    }
    Bytes const data(bytes + 1 + nbr_op, bytes + size);
    Run run(data);
    for (std::size_t i = 0; i < nbr_op; ++i) {
        run.step(bytes[1 + i] & 15, bytes[1 + i] >> 4);
    }
    return 0;
}
