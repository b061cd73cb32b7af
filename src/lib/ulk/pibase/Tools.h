#pragma once

#include "ulk/kryn/Component.h"
#include "ulk/pibase/BidirComPoint.h"

namespace ulk::pibase {

class Tools {
public:
    // For optional commands: "not implemented" (-1) counts as success (0); other codes pass.
    static int not_imp_success(int ret) { return ret == -1 ? 0 : ret; }

    // Body of every execute_command_static: hands the command to the object of type T that owns
    // the point. Nothing is thrown out: an exception becomes -2. A null object answers DESTROY
    // with 0 and everything else with -2.
    template <class T>
    static int execute_guarded(BidirComPoint* com, int cmd, void* data) noexcept;
};

template <class T>
int Tools::execute_guarded(BidirComPoint* com, int cmd, void* data) noexcept {
    T* const object = static_cast<T*>(com->plugin_data);
    if (object == nullptr) {
        return cmd == kryn::Component::Cmd::DESTROY ? 0 : -2;
    }
    try {
        return object->execute_command(cmd, data);
    } catch (...) {
        return -2;
    }
}

} // namespace ulk::pibase
