#pragma once

#include "ulk/util/ObservableInterface.h"

namespace ulk::util {

// Observation by one observer at most. Observable classes derive virtually from it.
class ObservableSingleMixin : public virtual ObservableInterface {
protected:
    void do_add_observer(ObserverInterface& observer) override;    // replaces a former one
    void do_remove_observer(ObserverInterface& observer) override; // another one stays registered
    void do_notify_observers() override;

private:
    ObserverInterface* _observer_ptr = nullptr;
};

} // namespace ulk::util
