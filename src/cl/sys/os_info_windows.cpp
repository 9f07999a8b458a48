#include "cl/sys/os_info.hpp"
#include "cl/sys/registry_key.hpp"

#include <windows.h>

// Exports of ntdll that the headers don't declare.
extern "C" {
NTSYSAPI LONG NTAPI RtlGetVersion(OSVERSIONINFOEXW* version);
NTSYSAPI void NTAPI RtlGetNtVersionNumbers(DWORD* major, DWORD* minor, DWORD* build);
}

namespace cl {

namespace {

constexpr const wchar_t* version_key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

static_assert(sizeof(OSVERSIONINFOEXW) == 284);

void read_version(os_facts& facts) {
    OSVERSIONINFOEXW shown{};
    shown.dwOSVersionInfoSize = sizeof shown;
    RtlGetVersion(&shown);
    facts.shown = {shown.dwMajorVersion, shown.dwMinorVersion, shown.dwBuildNumber};
    facts.platform_id = shown.dwPlatformId;
    facts.sp_major = shown.wServicePackMajor;
    facts.sp_minor = shown.wServicePackMinor;
    facts.suite_mask = shown.wSuiteMask;
    facts.product_type = shown.wProductType;

    DWORD major = 0, minor = 0, build = 0;
    RtlGetNtVersionNumbers(&major, &minor, &build);
    facts.real = {major, minor, build};
}

// The two keys stay open for the life of the process.
void read_names(os_facts& facts) {
    nt_registry_key product;
    if (product.open(version_key, nullptr, registry_read_access)) {
        product.read_string(L"ProductName", facts.product_name);
        if (!facts.product_name.empty())
            product.read_string(L"CurrentType", facts.current_type);
    }
    nt_registry_key lab;
    if (lab.open(version_key, nullptr, registry_read_access)) {
        lab.read_string(L"BuildLabEx", facts.build_lab_ex);
        if (facts.build_lab_ex.empty())
            lab.read_string(L"BuildLab", facts.build_lab);
    }
}

} // namespace

os_facts read_os_facts() {
    os_facts facts;
    read_version(facts);
    facts.tablet = GetSystemMetrics(SM_TABLETPC) != 0;
    facts.media_center = GetSystemMetrics(SM_MEDIACENTER) != 0;
    facts.starter = GetSystemMetrics(SM_STARTER) != 0;
    facts.server_r2 = GetSystemMetrics(SM_SERVERR2) != 0;
    read_names(facts);
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    facts.processors = system.dwNumberOfProcessors;
    facts.page_size = system.dwPageSize;
    facts.lang_id = GetSystemDefaultLangID();
    return facts;
}

} // namespace cl
