#pragma once

#include <atomic>

/// A call's result with the errno of that very call, so that callers and fakes need no global.
struct ORB_SYSCALL_RESULT {
    long rc; ///< what the call returned
    int err; ///< errno right after a failed call, else 0
};

/// An object that is there before the first static constructor and after the last static
/// destructor. T needs a constexpr default constructor and nothing to release.
template <typename T> union orbImmortal {
    T value;
    constexpr orbImmortal() : value() {}
    constexpr ~orbImmortal() {}
};

/// One door to the outside world: the host's own implementation, and the one in force. Constant
/// initialisation makes it usable before `main`. Any thread may get(); replace() is for tests, the
/// lab and the entry program before other threads run.
template <typename Interface> class orbSeam {
public:
    constexpr explicit orbSeam(Interface &host) : hosts(&host), inForce(&host) {}
    Interface &get() const { return *inForce.load(); }
    /// Puts `next` in force, the host's own for null, and gives the former.
    Interface *replace(Interface *next) { return inForce.exchange(next != nullptr ? next : hosts); }

private:
    Interface *hosts;
    std::atomic<Interface *> inForce;
};
