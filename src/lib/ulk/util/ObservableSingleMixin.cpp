#include "ulk/util/ObservableSingleMixin.h"

#include "ulk/util/ObserverInterface.h"

namespace ulk::util {

void ObservableSingleMixin::do_add_observer(ObserverInterface& observer) {
    _observer_ptr = &observer;
}

void ObservableSingleMixin::do_remove_observer(ObserverInterface& observer) {
    if (_observer_ptr == &observer) {
        _observer_ptr = nullptr;
    }
}

void ObservableSingleMixin::do_notify_observers() {
    if (_observer_ptr != nullptr) {
        _observer_ptr->update(*this);
    }
}

} // namespace ulk::util
