#pragma once

#include "host/Error.h"

namespace ulk::host {

// One side of the protocol broke its rules. Tells which.
class ContractError : public Error {
public:
    enum Side { Side_HOST, Side_PLUGIN };

    ContractError(Side side, std::string const& text)
        : Error(Kind_MATERIAL, (side == Side_HOST ? "contract broken by the host: "
                                                  : "contract broken by the plug-in: ") +
                                   text)
        , _side(side) {}

    Side get_side() const { return _side; }

private:
    Side _side;
};

} // namespace ulk::host
