#pragma once

#include "ulk/archi/types.h"
#include "ulk/util/BinaryStreamOutputBase.h"

#include <vector>

namespace ulk::util {

// A stream into a vector, which the caller owns and which outlives it.
class BinaryStreamOutput : public BinaryStreamOutputBase {
public:
    explicit BinaryStreamOutput(std::vector<archi::UByte>& data)
        : _data(data) {}

protected:
    archi::UByte const* do_data() const override;
    unsigned long do_size() const override;
    bool do_empty() const override;
    void do_clear() override;
    archi::UByte* do_resize_of(unsigned long size) override;
    archi::UByte* do_resize_max_of(unsigned long pos, unsigned long size) override;
    void do_resize_write_bytes(archi::UByte const* data, unsigned long size) override;
    void do_write_front_bytes(archi::UByte const* data, unsigned long size) override;

private:
    std::vector<archi::UByte>& _data;
};

} // namespace ulk::util
