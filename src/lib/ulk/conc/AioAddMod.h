#pragma once

namespace ulk::conc {

// Operator of an atomic update: adds a constant and takes the remainder, which has the sign of the
// sum. The modulus is not 0. A temporary of RetryLoop::update().
template <class T>
class AioAddMod {
public:
    AioAddMod(T operand, T modulus)
        : _operand(operand)
        , _modulus(modulus) {}
    virtual ~AioAddMod() = default;

    // real-time
    T operator()(T old_val) const { return static_cast<T>((old_val + _operand) % _modulus); }

private:
    T _operand;
    T _modulus;
};

} // namespace ulk::conc
