// Any sequence of operations leaves the cache as its model says. Each byte, or two where one does
// not hold the choice, is a throw of the dice that choose the operations.

#include "../test/support/CacheDriver.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

class Bytes {
public:
    Bytes(std::uint8_t const* data, std::size_t size)
        : _pos(data)
        , _end(data + size) {}

    bool is_empty() const { return _pos == _end; }

    unsigned long roll(unsigned long nbr) {
        unsigned long const low = take();
        return nbr == 0 ? 0 : (nbr > 256 ? low * 256 + take() : low) % nbr;
    }

private:
    unsigned long take() { return is_empty() ? 0 : *_pos++; }

    std::uint8_t const* _pos;
    std::uint8_t const* _end;
};

void check(std::string const& error) {
    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Bytes bytes(data, size);
    test::CacheDriver driver([&](unsigned long nbr) { return bytes.roll(nbr); }, {61, 333}, 1);
    while (!bytes.is_empty()) {
        check(driver.run_step());
    }
    check(driver.finish());
    return 0;
}
