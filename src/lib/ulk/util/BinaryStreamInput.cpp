#include "ulk/util/BinaryStreamInput.h"

#include "ulk/udbg/log.h"

#include <bit>
#include <cstdint>
#include <type_traits>

namespace ulk::util {

BinaryStreamInput::BinaryStreamInput(archi::UByte const* data, unsigned long size)
    : _data_ptr(data)
    , _size(data != nullptr ? size : 0) {}

BinaryStreamInput::BinaryStreamInput(std::vector<archi::UByte> const& data)
    : _data_ptr(data.data())
    , _size(data.size()) {}

BinaryStreamInput::BinaryStreamInput(BinaryStreamInput const& other)
    : _data_ptr(other._data_ptr)
    , _size(other._size) {}

BinaryStreamInput& BinaryStreamInput::operator=(BinaryStreamInput const& other) {
    _data_ptr = other._data_ptr;
    _size = other._size;
    _pos = 0;
    return *this;
}

archi::UByte const* BinaryStreamInput::data() const {
    return _data_ptr != nullptr ? _data_ptr + _pos : nullptr;
}

unsigned long BinaryStreamInput::size() const {
    return _size - _pos;
}

bool BinaryStreamInput::empty() const {
    return size() == 0;
}

unsigned long BinaryStreamInput::tell() const {
    return _pos;
}

int BinaryStreamInput::seek_beg(unsigned long pos, char const* err) {
    if (pos > _size) {
        _pos = _size;
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    _pos = pos;
    return 0;
}

int BinaryStreamInput::seek_end(unsigned long pos, char const* err) {
    if (pos > _size) {
        _pos = 0;
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    _pos = _size - pos;
    return 0;
}

int BinaryStreamInput::advance(long delta, char const* err) {
    auto const dist =
        delta < 0 ? 0UL - static_cast<unsigned long>(delta) : static_cast<unsigned long>(delta);
    if (dist > (delta < 0 ? _pos : size())) {
        _pos = delta < 0 ? 0 : _size;
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    _pos = delta < 0 ? _pos - dist : _pos + dist;
    return 0;
}

int BinaryStreamInput::read(bool& value, char const* err) {
    archi::UByte byte = 0;
    int const ret = read(byte, err);
    if (ret == 0) {
        value = byte != 0;
    }
    return ret;
}

int BinaryStreamInput::read(archi::UByte& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(archi::SByte& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(archi::UInt16& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(archi::Int16& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(archi::UInt32& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(archi::Int32& value, char const* err) {
    return take(value) ? 0 : report_outside(err, __PRETTY_FUNCTION__, __LINE__);
}

int BinaryStreamInput::read(unsigned long long& value, char const* err) {
    return read_words(value, err);
}

int BinaryStreamInput::read(long long& value, char const* err) {
    return read_words(value, err);
}

int BinaryStreamInput::read(float& value, char const* err) {
    archi::UInt32 bits = 0;
    int const ret = read(bits, err);
    if (ret == 0) {
        value = std::bit_cast<float>(bits);
    }
    return ret;
}

int BinaryStreamInput::read(double& value, char const* err) {
    return read_words(value, err);
}

int BinaryStreamInput::read(void*& value, char const* err) {
    return read_ptr(value, err);
}

int BinaryStreamInput::read(void const*& value, char const* err) {
    return read_ptr(value, err);
}

int BinaryStreamInput::read(std::string& value, char const* err) {
    archi::UInt32 len = 0;
    if (int const ret = read(len, err); ret != 0) {
        return ret;
    }
    if (len > size()) {
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    value.assign(reinterpret_cast<char const*>(data()), len);
    _pos += len;
    return 0;
}

int BinaryStreamInput::read(archi::UByte const*& ptr, unsigned long size, char const* err) {
    if (size > this->size()) {
        ptr = nullptr;
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    ptr = data();
    _pos += size;
    return 0;
}

// False, with nothing changed, if the block ends before the value.
template <class T>
bool BinaryStreamInput::take(T& value) {
    if (size() < sizeof(T)) {
        return false;
    }
    archi::UInt32 bits = 0;
    for (unsigned long i = 0; i < sizeof(T); ++i) {
        bits = bits << 8 | _data_ptr[_pos + i];
    }
    value = static_cast<T>(bits);
    _pos += sizeof(T);
    return true;
}

template <class T>
int BinaryStreamInput::read_words(T& value, char const* err) {
    archi::UInt32 word_arr[2] = {};
    for (auto& word : word_arr) {
        if (int const ret = read(word, err); ret != 0) {
            return ret;
        }
    }
    value = std::bit_cast<T>(static_cast<archi::UInt64>(word_arr[0]) << 32 | word_arr[1]);
    return 0;
}

template <class T>
int BinaryStreamInput::read_ptr(T*& value, char const* err) {
    archi::UInt32 bits = 0;
    int const ret = read(bits, err);
    if (ret == 0) {
        value = reinterpret_cast<T*>(static_cast<std::uintptr_t>(bits));
    }
    return ret;
}

int BinaryStreamInput::report_outside(char const* err, char const* function, long line) {
    report(err, function, line);
    return Err_OUT_OF_STREAM;
}

// function and line are those of the operation that failed.
void BinaryStreamInput::report(char const* err, char const* function, long line) {
    if (err != nullptr) {
        static constexpr auto source = udbg::make_log_source(__FILE__, __DATE__);
        udbg::write_log(&udbg::LogMgr::write, udbg::Debugger::Level_ERROR, source.txt, function,
                        line, "%1%", err);
    }
}

} // namespace ulk::util
