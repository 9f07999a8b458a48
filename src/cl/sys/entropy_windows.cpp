// rand_s of the run-time library is declared only on request.
#define _CRT_RAND_S
#include <cstdlib>

#include "cl/sys/entropy.hpp"

#include "cl/file/random_gen.hpp"
#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"
#include "cl/sys/registry_key.hpp"
#include "cl/sys/seed_text.hpp"

#include <algorithm>
#include <cstring>
#include <windows.h>

#include <iphlpapi.h>
#include <rpc.h>
#include <sddl.h>
#include <wincrypt.h>
#include <x86intrin.h>

namespace cl {

namespace {

constexpr DWORD name_chars = 64;             // of a user or a computer, with its terminator
constexpr std::size_t adapter_bytes = 11264; // room for the list of adapters
constexpr int secure_values = 8;
constexpr DWORD smbios_provider = 0x52534D42; // "RSMB"

guid fresh_guid() {
    static_assert(sizeof(guid) == sizeof(UUID));
    UUID made{};
    UuidCreate(&made);
    guid id;
    std::memcpy(&id, &made, sizeof id);
    return id;
}

std::optional<machine_identity::registration> read_registration() {
    registry_key key;
    if (!key.open(L"Software\\Microsoft\\Windows NT\\CurrentVersion", nullptr, registry_read_access))
        return std::nullopt;
    machine_identity::registration found;
    key.read_string_narrow(L"ProductId", found.product_id);
    key.read_string_narrow(L"Systemroot", found.system_root);
    key.read_string_narrow(L"RegisteredOwner", found.owner);
    key.read_string_narrow(L"RegisteredOrganisation", found.organisation);
    return found;
}

std::string name_by(BOOL(WINAPI* query)(LPSTR, LPDWORD)) {
    char name[name_chars] = {};
    DWORD size = name_chars;
    if (!query(name, &size))
        return {};
    name[name_chars - 1] = 0;
    return name;
}

// The security identifier of the machine's own account.
std::wstring read_machine_sid() {
    wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD computer_chars = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(computer, &computer_chars))
        return {};
    alignas(SID) unsigned char sid[SECURITY_MAX_SID_SIZE];
    DWORD sid_bytes = sizeof sid;
    wchar_t domain[256];
    DWORD domain_chars = 256;
    SID_NAME_USE use{};
    if (!LookupAccountNameW(nullptr, computer, sid, &sid_bytes, domain, &domain_chars, &use))
        return {};
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(sid, &text))
        return {};
    std::wstring result = text;
    LocalFree(text);
    return result;
}

std::vector<network_adapter> read_adapters() {
    static never_destroyed<bound_function<decltype(GetAdaptersInfo)>> bound(std::in_place, L"IPHLPAPI.DLL",
                                                                            "GetAdaptersInfo");
    const auto& query = *bound;
    if (!query)
        return {};
    alignas(IP_ADAPTER_INFO) unsigned char buffer[adapter_bytes];
    ULONG size = sizeof buffer;
    std::vector<network_adapter> adapters;
    auto* const first = reinterpret_cast<IP_ADAPTER_INFO*>(buffer);
    if (query(first, &size) != ERROR_SUCCESS)
        return adapters;
    for (const IP_ADAPTER_INFO* a = first; a; a = a->Next)
        adapters.push_back({a->Type,
                            {a->Address, a->Address + std::min<UINT>(a->AddressLength, sizeof a->Address)},
                            a->Description});
    return adapters;
}

machine_identity read_identity() {
    machine_identity machine;
    machine.registered = read_registration();
    machine.user = name_by(GetUserNameA);
    machine.computer = name_by(GetComputerNameA);
    machine.fresh = fresh_guid();
    machine.machine_sid = read_machine_sid();
    machine.adapters = read_adapters();
    return machine;
}

// Only where the processor has the instruction: the record's test alone, with its deliberate place, doesn't
// show that.
__attribute__((target("rdrnd"))) std::optional<std::uint64_t> read_rdrand() {
    constexpr std::uint32_t instruction_bit = 1u << 30;
    unsigned long long value = 0;
    if (!cpu_info.has_rdrand() || (cpu_info.leaf1[2] & instruction_bit) == 0 || !_rdrand64_step(&value))
        return std::nullopt;
    return value;
}

std::vector<std::uint32_t> read_secure() {
    std::vector<std::uint32_t> values;
    unsigned value = 0;
    while (values.size() < secure_values && rand_s(&value) == 0)
        values.push_back(value);
    return values;
}

std::vector<std::byte> read_firmware() {
    static never_destroyed<bound_function<UINT WINAPI(DWORD, DWORD, void*, DWORD)>> bound(
        std::in_place, L"KERNEL32.DLL", "GetSystemFirmwareTable");
    const auto& query = *bound;
    if (!query)
        return {};
    std::vector<std::byte> table(query(smbios_provider, 0, nullptr, 0));
    const UINT got = query(smbios_provider, 0, table.data(), static_cast<DWORD>(table.size()));
    // A table that has grown since then reports its new size and returns nothing.
    if (got > table.size())
        return {};
    table.resize(got);
    return table;
}

std::optional<std::array<std::uint8_t, 16>> read_provider() {
    HCRYPTPROV provider = 0;
    if (!CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT | CRYPT_SILENT))
        return std::nullopt;
    std::array<std::uint8_t, 16> bytes{};
    const BOOL ok = CryptGenRandom(provider, static_cast<DWORD>(bytes.size()), bytes.data());
    CryptReleaseContext(provider, 0);
    if (!ok)
        return std::nullopt;
    return bytes;
}

moment read_moment() {
    moment now;
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    now.system_time = std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    now.tick_count = GetTickCount64();
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    now.performance_counter = static_cast<std::uint64_t>(counter.QuadPart);
    if (cpu_info.has_tsc())
        now.tsc = __rdtsc();
    now.rdrand = read_rdrand();
    now.thread = GetCurrentThreadId();
    now.process = GetCurrentProcessId();
    now.processor = GetCurrentProcessorNumber();
    now.backoff = backoff_rng.next();
    now.name = name_rng.next();
    now.fresh = fresh_guid();
    now.secure = read_secure();
    now.firmware = read_firmware();
    now.provider = read_provider();
    return now;
}

} // namespace

std::string entropy_text(bool refresh) {
    static never_destroyed<std::string> entropy_cache(std::in_place); // made once
    if (refresh || entropy_cache->empty())
        *entropy_cache = stable_seed_text(os_info, cpu_info, read_identity());
    return *entropy_cache + varying_seed_text(read_moment());
}

md5_digest seed_digest(bool refresh) {
    return md5(entropy_text(refresh));
}

std::uint64_t new_seed() {
    const md5_digest digest = seed_digest(false);
    std::uint64_t seed = 0;
    for (int i = 8; i-- > 0;)
        seed = seed << 8 | digest[static_cast<std::size_t>(i)];
    return seed;
}

} // namespace cl
