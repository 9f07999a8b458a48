// Which Windows this is, and the facts about the machine that others need.
#pragma once

#include <cstdint>
#include <string>

namespace cl {

// The record that is built from what the system says. A "version" is major x 100 + minor: 601 is Windows 7,
// 1000 Windows 10.
struct os_record {
    std::uint32_t version = 0;
    std::uint32_t major = 0, minor = 0, build = 0;
    std::uint32_t sp_major = 0; // service pack, 0 when version_masked
    std::uint32_t lang_id = 0;
    std::uint32_t processors = 0;
    std::uint32_t page_size = 0; // bytes
    std::uint32_t sp_value = 0;  // service pack major x 100 + minor, 0 when version_masked
    bool valid = false;          // true once built
    bool at_least_601 = false, at_least_602 = false, at_least_603 = false, at_least_604 = false;
    bool tablet = false;
    bool version_masked = false; // a compatibility layer shows another version; `version` is the true one
    std::wstring product;        // system name
    std::wstring edition;        // words, each with a leading blank
    std::wstring description;    // the long text
    std::wstring version_text;
    std::wstring product_text;
    const wchar_t* short_name = L"";
    std::wstring build_lab;
    std::uint32_t registry_view = 0; // access bits for every opening of a registry key
};

// The system's answers that the record is made of.
struct os_facts {
    struct numbers {
        std::uint32_t major, minor, build;
    };
    numbers shown{}; // RtlGetVersion, which compatibility layers change
    numbers real{};  // RtlGetNtVersionNumbers; the build with its flag bits
    std::uint32_t platform_id = 0;
    std::uint32_t sp_major = 0, sp_minor = 0;
    std::uint32_t suite_mask = 0;
    std::uint32_t product_type = 0; // 1 workstation, 2 domain controller, 3 server
    // GetSystemMetrics 86 to 89.
    bool tablet = false, media_center = false, starter = false, server_r2 = false;
    std::uint32_t processors = 0, page_size = 0, lang_id = 0;
    // Registry values below "Windows NT\CurrentVersion", empty when missing.
    std::wstring product_name, current_type, build_lab_ex, build_lab;
};

os_record make_os_record(const os_facts& facts);

// The record of this system. Read-only, and for any thread, once fill_os_info has run; all zero before. It is
// never destroyed.
extern os_record& os_info;

// Windows. Needs nothing else of this library, so that it can come first in the process.
os_facts read_os_facts();

// Called once, before `main`.
void fill_os_info(const os_facts& facts);

} // namespace cl
