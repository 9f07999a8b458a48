#include "cl/time/nt_timer_resolution.hpp"

namespace cl {

namespace {

// As the system declares them, with its 32-bit ULONG and NTSTATUS and its BOOLEAN of one byte.
using set_function = std::int32_t (*)(std::uint32_t wanted, unsigned char set, std::uint32_t* current);
using query_function = std::int32_t (*)(std::uint32_t* coarsest, std::uint32_t* finest,
                                        std::uint32_t* current);

} // namespace

bool nt_timer_resolution::bind() {
    if (!tried_) {
        tried_ = true;
        bind(set_);
        bind(query_);
        found_ = set_.address && query_.address;
    }
    return found_;
}

std::uint32_t nt_timer_resolution::current() {
    if (!bind())
        return 0;
    std::uint32_t coarsest = 0, finest = 0, now = 0;
    const std::int32_t status = reinterpret_cast<query_function>(query_.address)(&coarsest, &finest, &now);
    return status < 0 ? 0 : now;
}

nt_timer_resolution::~nt_timer_resolution() {
    if (held && bind()) {
        reinterpret_cast<set_function>(set_.address)(0, 0, nullptr);
        held = false;
    }
    release(query_);
    release(set_);
}

void nt_timer_resolution::release(entry& e) {
    if (e.address)
        release_library(table_, e.library);
    e.address = nullptr;
}

} // namespace cl
