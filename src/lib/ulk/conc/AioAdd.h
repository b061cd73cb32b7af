#pragma once

namespace ulk::conc {

// Operator of an atomic update: adds a constant. A temporary of RetryLoop::update().
template <class T>
class AioAdd {
public:
    explicit AioAdd(T operand)
        : _operand(operand) {}
    virtual ~AioAdd() = default;

    T operator()(T old_val) const { return static_cast<T>(old_val + _operand); } // real-time

private:
    T _operand;
};

} // namespace ulk::conc
