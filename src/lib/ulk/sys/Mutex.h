#pragma once

namespace ulk::sys {

// The operating system's mutex, neither recursive nor checking. Not for the real-time thread but
// for the short sections told where they are. Copying makes a new, unlocked mutex and assigning
// does nothing, so that classes which hold one stay copyable. A failure of the system throws
// std::runtime_error.
class Mutex {
public:
    struct Inheriting {};

    Mutex();
    // A holder that a thread of higher priority waits for inherits that priority, where the system
    // knows of it; else whatever else runs could keep the two waiting.
    explicit Mutex(Inheriting);
    Mutex(Mutex const& other);
    Mutex& operator=(Mutex const& other) noexcept;
    ~Mutex();

    void lock() const;
    // Tries for some microseconds before it sleeps: for a mutex whose holders are quick, where
    // going to sleep and waking up would take far longer.
    void lock_quick() const;
    void unlock() const;

private:
    void init(bool inheriting_flag, char const* err_txt);

    // Room for the system's object, whose header stays out of here.
    alignas(8) mutable unsigned char _storage[64];
};

} // namespace ulk::sys
