// A place for one object that lives to the very end of the process: its destructor never runs, so that any
// thread may use the object at any time from its construction on.
#pragma once

#include <memory>
#include <utility>

namespace cl {

// As a local static it is constructed on first use:
//
//     static never_destroyed<std::string> cache(std::in_place);
//
// At namespace scope it is constinit, all zeros, until create() is called, once. A reference to its object
// may be made before that and needs no initialiser at run time.
template <class T>
class never_destroyed {
public:
    constexpr never_destroyed() = default;
    template <class... Args>
    explicit never_destroyed(std::in_place_t, Args&&... args) {
        create(std::forward<Args>(args)...);
    }
    never_destroyed(const never_destroyed&) = delete;
    never_destroyed& operator=(const never_destroyed&) = delete;

    template <class... Args>
    T& create(Args&&... args) {
        std::construct_at(&get(), std::forward<Args>(args)...);
        return get();
    }

    // Not a union: its destructor would not be trivial, and would be registered to run at the end.
    constexpr T& get() { return reinterpret_cast<T&>(room_); }
    constexpr T& operator*() { return get(); }
    constexpr T* operator->() { return &get(); }

private:
    alignas(T) unsigned char room_[sizeof(T)]{};
};

} // namespace cl
