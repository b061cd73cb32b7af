#include "host/DescribeCommand.h"

#include "host/ContractError.h"
#include "host/PluginError.h"
#include "ulk/ace/Err.h"
#include "ulk/kryn/Component.h"

namespace ulk::host {

std::vector<unsigned char> DescribeCommand::run(pibase::BidirComPoint& com, std::string const& id,
                                                CommandTap* tap) {
    // The protocol has no way to ask for the size: grow until the document fits.
    constexpr int max_len = 1 << 26;
    std::vector<unsigned char> doc(1024);
    for (;;) {
        int const capacity = static_cast<int>(doc.size());
        kryn::Component::Cmd::Describe rec = {doc.data(), capacity};
        int const ret = CommandTap::execute(tap, com, kryn::Component::Cmd::DESCRIBE, &rec);
        if (ret == ace::Err_NO_ROOM && capacity < max_len) {
            doc.resize(doc.size() * 2);
            continue;
        }
        if (ret == ace::Err_NOT_IMPLEMENTED) {
            return {};
        }
        if (ret != ace::Err_OK) {
            throw PluginError(id, "DESCRIBE", ret);
        }
        if (rec.len < 0 || rec.len > capacity) {
            throw ContractError(ContractError::Side_PLUGIN,
                                id + ": DESCRIBE returned a length beyond the capacity");
        }
        doc.resize(static_cast<std::size_t>(rec.len));
        return doc;
    }
}

} // namespace ulk::host
