#include "fakes/fake_device.hpp"

fakes::device& fakes::device::instance() {
    static device d;
    return d;
}

namespace cl::os {

using fakes::device;

device_handle open_device(const wchar_t*) {
    ++device::instance().open_count;
    return 7;
}

void close_device(device_handle) {
    --device::instance().open_count;
}

request_end control_device(device_handle, std::uint32_t, const void* in, std::uint32_t in_size, void* out,
                           std::uint32_t out_size, std::uint32_t& returned) {
    const auto& act = device::instance().act;
    const device::answer a = act ? act({static_cast<const char*>(in), in_size}) : device::answer{};
    a.bytes.copy(static_cast<char*>(out), out_size);
    if (a.returned >= 0)
        returned = static_cast<std::uint32_t>(a.returned);
    else if (a.error == 0)
        returned = static_cast<std::uint32_t>(a.bytes.size());
    return {a.error == 0, a.error};
}

} // namespace cl::os
