#pragma once

#include "host/CommandTap.h"
#include "ulk/pibase/BidirComPoint.h"

#include <string>
#include <vector>

namespace ulk::host {

// DESCRIBE on the point of a factory or of an instance. Control side; may run beside PROCESS.
class DescribeCommand {
public:
    // The document; empty when the component has none. id: who is asked, for errors; tap: may be
    // null. Throws a PluginError, or a ContractError for a length beyond the capacity.
    static std::vector<unsigned char> run(pibase::BidirComPoint& com, std::string const& id,
                                          CommandTap* tap);
};

} // namespace ulk::host
