// The process's library table on functions of the test's, for its own lifetime. The table that stood there
// before comes back after it, byte by byte: its records point to one another and to the place where it
// stands.
#pragma once

#include "cl/sys/library_table.hpp"

#include <cstring>
#include <memory>

namespace fakes {

class scripted_libraries {
public:
    explicit scripted_libraries(const cl::module_calls& calls) {
        std::memcpy(before_, &cl::libraries, sizeof before_);
        cl::create_libraries(calls);
    }
    ~scripted_libraries() {
        std::destroy_at(&cl::libraries);
        std::memcpy(static_cast<void*>(&cl::libraries), before_, sizeof before_);
    }
    scripted_libraries(const scripted_libraries&) = delete;
    scripted_libraries& operator=(const scripted_libraries&) = delete;

private:
    alignas(cl::library_table) unsigned char before_[sizeof(cl::library_table)];
};

} // namespace fakes
