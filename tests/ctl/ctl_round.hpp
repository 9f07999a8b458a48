// What the support tool reads may be of any bytes: the log, the settings and a library's file.
#pragma once

#include "choices.hpp"
#include "ctl/log_selection.hpp"
#include "ctl/output.hpp"
#include "ctl/pe_exports.hpp"
#include "ctl/settings_check.hpp"

#include <algorithm>
#include <cstring>

// A library for x64 with one section, whose exports are named "a" and "bc".
inline std::string small_library() {
    std::string file(0x240, '\0');
    const auto put = [&file](std::size_t at, std::uint32_t value, std::size_t size) {
        std::memcpy(file.data() + at, &value, size);
    };
    const auto dword = [&](std::size_t at, std::uint32_t value) { put(at, value, 4); };
    const auto word = [&](std::size_t at, std::uint32_t value) { put(at, value, 2); };
    file.replace(0, 2, "MZ");
    dword(0x3C, 0x40); // where the header lies
    dword(0x40, 0x4550);
    word(0x44, 0x8664);
    word(0x46, 1); // sections
    word(0x54, 0xF0);
    word(0x56, 0x2022); // a library
    word(0x58, 0x20B);
    dword(0xC8, 0x1000);  // exports
    dword(0x154, 0x1000); // the section's address, its size, and its place in the file
    dword(0x158, 0xC0);
    dword(0x15C, 0x180);
    dword(0x198, 2); // names
    dword(0x1A0, 0x1040);
    dword(0x1C0, 0x1080);
    dword(0x1C4, 0x1090);
    file.replace(0x200, 1, "a");
    file.replace(0x210, 2, "bc");
    return file;
}

inline void ctl_round(choices& c) {
    using namespace vfl::ctl;
    std::string library = small_library();
    for (int changes = c.below(12); changes > 0; --changes)
        library[c.once_in(2) ? c.below(library.size()) : 0x40 + c.below(std::size_t{0x130})] =
            static_cast<char>(c.any<std::uint8_t>());
    library.resize(library.size() - (c.once_in(3) ? c.below(library.size()) : 0));
    for (const std::string& name : read_pe(library).exports)
        EXPECT_LE(name.size(), 256u);

    // Stamps, banners and keys among the bytes, which chance would never write.
    std::string text;
    for (int parts = c.below(30); parts > 0 && !c.spent(); --parts)
        text += c.once_in(2) ? c.text(12)
                             : c.pick({"235959-999 ", "000000-000 srv: ------ x", "\r\n", "\n",
                                       "\xEF\xBB\xBF", "\xFF\xFE", "[param]\r\n", "trace=0\n",
                                       "max_trace_size=4294967296\r", "=", "\xF0\x9F\x98\x80"});
    const std::size_t cut = c.below(text.size() + 1);
    const log_text log =
        read_log({{text.substr(0, cut), local_ms{c.any<std::int32_t>()} * 1000}, {text.substr(cut), {}}}, {});
    EXPECT_EQ(log.bytes, text);
    std::string whole;
    std::int32_t run = 1;
    for (const log_line& line : log.lines) {
        EXPECT_TRUE(line.run == run || line.run == run + 1);
        run = line.run;
        whole += raw_line(log, line);
        const std::wstring shown_text = shown_line(log, line, {});
        EXPECT_TRUE(std::all_of(shown_text.begin(), shown_text.end() - 1,
                                [](wchar_t x) { return x >= L' ' && x != 0x7F; }));
        const std::string json = json_line(log, line, [](local_ms) { return 0; });
        EXPECT_TRUE(std::all_of(json.begin(), json.end() - 2, [](char x) { return x >= ' '; }));
    }
    EXPECT_EQ(whole, text);

    const auto lines =
        static_cast<std::size_t>(std::ranges::count_if(text, [](char x) { return x == '\r' || x == '\n'; }));
    for (const std::wstring& finding : check_settings(text))
        if (finding.starts_with(L"line ")) {
            EXPECT_LE(std::stoull(finding.substr(5)), lines + 1);
        }
}
