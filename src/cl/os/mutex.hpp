// The library's lock and its scope.
#pragma once

#include "cl/os/sync.hpp"

namespace cl {

// A recursive lock. Constant-initialised and trivially destructible: it may stand in objects that are used
// before the first initialiser and after the last destructor of the process.
//
// Code at the end of the process may run when all other threads are dead already, and one of them may have
// died inside: such code uses try_lock once it knows that the timer's worker is gone (thread_obj::is_alive).
class mutex {
public:
    constexpr mutex() = default;

    void lock() { section.enter(); }
    // False if another thread is inside.
    [[nodiscard]] bool try_lock() { return section.try_enter(); }
    // Once for each entry, by the thread that entered.
    void unlock() { section.leave(); }

private:
    os::critical_section section;
};

// A scope that holds a mutex, and may give it up and take it again. It belongs to one thread. A function that
// takes a mutex_auto& may drop and retake the caller's lock: keep no iterators or other state across its
// call.
struct mutex_auto {
    mutex_auto(mutex& m, bool lock_now) : target(&m) {
        if (lock_now)
            lock();
    }
    ~mutex_auto() { unlock(); }
    mutex_auto(const mutex_auto&) = delete;
    mutex_auto& operator=(const mutex_auto&) = delete;

    void lock() {
        if (!locked) {
            target->lock();
            locked = true;
        }
    }
    // True if the scope holds the lock now.
    [[nodiscard]] bool try_lock() {
        if (!locked)
            locked = target->try_lock();
        return locked;
    }
    void unlock() {
        if (locked) {
            locked = false;
            target->unlock();
        }
    }

    // Whether this scope holds `target`. Not for others to write.
    bool locked = false;
    mutex* const target;
};

} // namespace cl
