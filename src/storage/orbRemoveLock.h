#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>

#include "core/orbMutexLocker.h"

/// Life of an object that a thread may still use after its device has gone: a count of references
/// and a mark that the device is gone. The object dies with the last reference, on whatever thread
/// gives it back, so it is made with `new`. Any thread.
class orbRemoveLock {
public:
    orbRemoveLock() = default;
    virtual ~orbRemoveLock() = default;
    orbRemoveLock(const orbRemoveLock &) = delete;
    orbRemoveLock &operator=(const orbRemoveLock &) = delete;

    /// One more reference, for who holds one or the lock of the list that does.
    /// @return whether the device was gone by then; the reference counts either way
    bool acquireReference() {
        const bool wasRemoved = removed;
        ++referenceCount;
        return wasRemoved;
    }
    /// Gives a reference back and, with the last one, deletes the object.
    void releaseReference() {
        if (--referenceCount == 0) delete this;
    }

    bool isRemoved() const { return removed; }
    std::int32_t getReferenceCount() const { return referenceCount; } ///< of the moment

protected:
    std::atomic<bool> removed{false};            // whoever removes sets it, any thread reads
    std::atomic<std::int32_t> referenceCount{1}; // the first one is the list's
};

/// One reference, given back at the end of the scope. Empty after a move.
template <typename T> class orbReference {
public:
    orbReference() = default;
    /// One more reference on an object that somebody holds meanwhile; null for null.
    static orbReference take(T *object) {
        if (object != nullptr) (void)object->acquireReference(); // a removed one is held as well
        return orbReference(object);
    }
    /// Somebody's reference, which becomes this object's.
    static orbReference adopt(T *object) { return orbReference(object); }

    orbReference(orbReference &&other) noexcept : held(std::exchange(other.held, nullptr)) {}
    orbReference &operator=(orbReference &&other) noexcept {
        orbReference moved(std::move(other));
        std::swap(held, moved.held);
        return *this;
    }
    ~orbReference() {
        if (held != nullptr) held->releaseReference();
    }

    T *get() const { return held; }
    T *operator->() const { return held; }
    explicit operator bool() const { return held != nullptr; }

private:
    explicit orbReference(T *object) : held(object) {}

    T *held = nullptr;
};

/// A door that calls from outside pass, and that somebody closes for good: closing waits for those
/// inside. Any thread; waitForRemoval() not from inside, which would wait for itself.
class orbRemoveLockEx {
public:
    orbRemoveLockEx() = default;
    orbRemoveLockEx(const orbRemoveLockEx &) = delete;
    orbRemoveLockEx &operator=(const orbRemoveLockEx &) = delete;

    /// Counts a call in. @return false where the door is closed: leave() is due all the same
    bool enter() {
        ++inFlight;
        return !removing;
    }
    /// Counts a call out; the last one wakes who closes the door.
    void leave() {
        if (--inFlight != 0) return;
        orbMutexLocker<std::mutex> lock(mutex);
        cond.notify_all();
    }
    /// Closes the door and waits, without limit, until nobody is inside; at once where it is
    /// closed already.
    void waitForRemoval() {
        if (removing.exchange(true)) return;
        std::unique_lock<std::mutex> lock(mutex);
        cond.wait(lock, [this] { return inFlight == 0; });
    }

    bool isRemoving() const { return removing; }
    std::int32_t getInFlight() const { return inFlight; } ///< of the moment

private:
    std::atomic<bool> removing{false};
    std::atomic<std::int32_t> inFlight{0};
    std::mutex mutex;             // a leaf: held for the signal and the wait for it
    std::condition_variable cond; // with mutex
};
