#pragma once

namespace ulk::util {

class ObserverInterface;

// What can be observed. Observers are not owned, and are told on the thread that notifies.
class ObservableInterface {
public:
    virtual ~ObservableInterface() = default;

    void add_observer(ObserverInterface& observer) { do_add_observer(observer); }
    void remove_observer(ObserverInterface& observer) { do_remove_observer(observer); }
    void notify_observers() { do_notify_observers(); }

protected:
    virtual void do_add_observer(ObserverInterface& observer) = 0;
    virtual void do_remove_observer(ObserverInterface& observer) = 0;
    virtual void do_notify_observers() = 0;
};

} // namespace ulk::util
