#include "driver/text_command.hpp"

#include "cl/trace/say.hpp"
#include "driver/request_timer.hpp"

#include <algorithm>
#include <memory>
#include <new>

namespace vfl {

std::string utf16_bytes(const std::wstring& text) {
    std::string bytes;
    bytes.reserve(text.size() * 2);
    for (const wchar_t c : text) {
        bytes += static_cast<char>(c & 0xFF);
        bytes += static_cast<char>((c >> 8) & 0xFF);
    }
    return bytes;
}

namespace {

// The text of at most max_chars characters before the first NUL.
std::wstring from_wire(const unsigned char* bytes, std::uint32_t max_chars) {
    std::wstring text;
    for (std::uint32_t i = 0; i < max_chars; ++i) {
        const auto unit =
            static_cast<wchar_t>(bytes[2 * std::size_t{i}] | bytes[2 * std::size_t{i} + 1] << 8);
        if (unit == 0)
            break;
        text += unit;
    }
    return text;
}

// A command as its error message shows it: the longest one that is shown whole has 23 characters.
std::wstring shortened(const std::wstring& command) {
    return command.size() > 23 ? command.substr(0, 20) + L"..." : command;
}

} // namespace

cl::os::request_end string_ioctl_command(cl::os::device_handle device, std::uint32_t code,
                                         const std::wstring& command, std::wstring& reply,
                                         std::uint32_t maxsz, bool time) {
    const std::uint64_t size = std::min<std::uint64_t>(std::uint64_t{maxsz} * 2, 0xFFFFFFFE);
    const std::unique_ptr<unsigned char[]> buffer(
        new (std::nothrow) unsigned char[static_cast<std::size_t>(size) + 2]);
    if (!buffer)
        return {false, 0xFFFFFFFF};
    buffer[0] = buffer[1] = 0;

    const std::string in = utf16_bytes(command);
    std::uint32_t returned = 0;
    const request_timer timer(time);
    const cl::os::request_end end =
        cl::os::control_device(device, code, in.data(), static_cast<std::uint32_t>(in.size()), buffer.get(),
                               static_cast<std::uint32_t>(size), returned);
    if (!end.done) {
        cl::say(cl::trace_err, L"string_ioctl_command(%?) returned error %?, ret=%?, maxsz=%?\n",
                shortened(command), end.error, returned, maxsz);
        cl::trace_flush(&cl::trace_err);
        return end;
    }
    timer.report();
    reply = from_wire(buffer.get(), std::min(returned / 2, static_cast<std::uint32_t>(size / 2)));
    return end;
}

} // namespace vfl
