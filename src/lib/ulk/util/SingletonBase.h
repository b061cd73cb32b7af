#pragma once

#include <atomic>
#include <memory>

namespace ulk::util {

// Base of a class with one instance, built at the first use and destroyed at program end. The
// class makes SingletonBase its friend and hides its constructor.
//     class Clock : public SingletonBase<Clock>
template <class T>
class SingletonBase {
public:
    virtual ~SingletonBase() = default;

    // Any thread. Once the instance stands: no lock, real-time. Throws what the constructor of T
    // throws; the next call tries again.
    static T& use_instance();

protected:
    SingletonBase() = default;
    SingletonBase(SingletonBase const&) = default;
    SingletonBase& operator=(SingletonBase const&) = default;

private:
    static void create_instance();

    inline static std::unique_ptr<T> _singleton_aptr;
    inline static std::atomic<bool> _singleton_init_flag{false}; // set when the instance is whole
};

} // namespace ulk::util

#include "ulk/util/SingletonBase.hpp"
