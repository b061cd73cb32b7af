#pragma once

namespace ulk::util {

class ObservableInterface;

class ObserverInterface {
public:
    virtual ~ObserverInterface() = default;

    // subject has changed. Called on the thread that notifies, inside its call.
    virtual void update(ObservableInterface& subject) = 0;
};

} // namespace ulk::util
