#include "fakes/fake_device.hpp"

#include <algorithm>
#include <cstring>

namespace fakes {

device& device::instance() {
    static device d;
    return d;
}

} // namespace fakes

namespace cl::os {

using fakes::device;

device_handle open_device(const wchar_t* path) {
    device& d = device::instance();
    d.opened = path;
    if (!d.exists)
        return invalid_device;
    ++d.open_count;
    return 7;
}

void close_device(device_handle) {
    --device::instance().open_count;
}

request_end control_device(device_handle, std::uint32_t code, const void* in, std::uint32_t in_size,
                           void* out, std::uint32_t out_size, std::uint32_t& returned) {
    device& d = device::instance();
    d.requests.push_back({code, std::string(static_cast<const char*>(in), in_size), out_size});
    const device::answer a = d.act ? d.act(d.requests.back()) : device::answer{};
    if (const std::size_t n = std::min<std::size_t>(a.bytes.size(), out_size); n > 0)
        std::memcpy(out, a.bytes.data(), n);
    if (!a.fails || a.returned >= 0)
        returned = static_cast<std::uint32_t>(a.returned >= 0 ? a.returned
                                                              : static_cast<std::int64_t>(a.bytes.size()));
    return {!a.fails, a.error};
}

} // namespace cl::os
