// Bytes of INI files in any encoding, and a settings cache on the disk in memory with a timer that is driven
// by hand.
#pragma once

#include "cl/file/encodings.hpp"
#include "cl/ini/cached_ini.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/fake_file.hpp"
#include "fakes/trace_capture.hpp"

#include <string>
#include <vector>

namespace ini_fixture {

inline const std::wstring file_path = L"C:\\data\\global.ini";

// ASCII text as the bytes of an encoding, with its mark.
inline std::string encoded(const std::string& text, std::uint32_t encoding) {
    std::string bytes(cl::byte_order_mark(encoding));
    const std::size_t width = encoding < 2 ? 1 : encoding < 4 ? 2 : 4;
    for (const char c : text) {
        std::string unit(width, '\0');
        unit[encoding % 2 ? width - 1 : 0] = c;
        bytes += unit;
    }
    return bytes;
}

inline std::string with_crlf(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + "\r\n";
    return text;
}

struct hand_timer final : cl::base_timer {
    hand_timer() : base_timer("by hand", false) {}
    void wake() override {}
    void wait_due_known(cl::mutex_auto&) override {}

    // Fires what is due once `ms` have passed.
    void advance(std::uint32_t ms) {
        fakes::clock::advance(ms);
        std::vector<cl::os::event_handle> handles;
        pass(handles);
    }
};

struct world {
    world() {
        fakes::disk::reset();
        fakes::clock::reset();
        fakes::clock::set_ticks(0xFFFFF000); // wraps during the test
    }
    ~world() { fakes::disk::reset(); }
    world(const world&) = delete;
    world& operator=(const world&) = delete;

    fakes::trace_capture trace;
    hand_timer timer;
};

} // namespace ini_fixture
