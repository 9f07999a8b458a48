// Bytes of INI files in any encoding, and a disk of their own with a timer that is driven by hand.
#pragma once

#include "cl/ini/cached_ini.hpp"
#include "cl/text/encodings.hpp"
#include "cl/time/simulated_timer.hpp"
#include "fakes/disk.hpp"
#include "fakes/fake_clock.hpp"
#include "fakes/trace_capture.hpp"

namespace ini_fixture {

inline const std::wstring file_path = L"C:\\data\\global.ini";

// ASCII text as the bytes of an encoding, with its mark.
inline std::string encoded(const std::wstring& text, std::uint32_t encoding) {
    std::string bytes(cl::byte_order_mark(encoding));
    const std::size_t width = encoding < 2 ? 1 : encoding < 4 ? 2 : 4;
    for (const wchar_t c : text) {
        std::string unit(width, '\0');
        unit[encoding % 2 ? width - 1 : 0] = static_cast<char>(c);
        bytes += unit;
    }
    return bytes;
}

inline std::wstring with_crlf(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const std::wstring& line : lines)
        text += line + L"\r\n";
    return text;
}

struct world {
    world() {
        fakes::disk::reset();
        fakes::clock::reset();
        fakes::clock::set_ticks(0xFFFFF000); // wraps during the test
    }
    ~world() { fakes::disk::reset(); }
    world(const world&) = delete;
    world& operator=(const world&) = delete;

    // Fires what is due once `ms` have passed.
    void advance(std::uint32_t ms) {
        fakes::clock::advance(ms);
        timer.run_pass();
    }

    fakes::trace_capture trace;
    fakes::simulated_timer timer{cl::os::tick_count};
};

} // namespace ini_fixture
