#pragma once

#include "ulk/prout/DescInterface.h"

#include <string>

namespace ulk::prout {

// Identifier of a plug-in.
class DescUniqueId : public DescInterface {
public:
    void set_id(char const* id) { _unique_id = id; }
    std::string const& get_id() const { return _unique_id; }

protected:
    unsigned int do_atom() const override;
    int do_write(util::BinaryStreamOutputBase& out) const override;
    int do_read(util::BinaryStreamInput& in) override;

private:
    std::string _unique_id;
};

} // namespace ulk::prout
