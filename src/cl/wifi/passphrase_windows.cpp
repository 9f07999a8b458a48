#include "cl/wifi/passphrase.hpp"

#include "cl/os/never_destroyed.hpp"
#include "cl/sys/bound_function.hpp"

#include <windows.h>

#include <dpapi.h>

namespace cl {

std::string unprotect_hex(std::string_view hex_text, std::string_view entropy) {
    static never_destroyed<bound_function<decltype(CryptUnprotectData)>> bound(std::in_place, L"CRYPT32.DLL",
                                                                               "CryptUnprotectData");
    const auto& unprotect = *bound;
    std::string clear;
    std::vector<std::uint8_t> bytes = hex_bytes(hex_text);
    if (bytes.empty() || !unprotect)
        return clear;
    std::string salt(entropy);
    DATA_BLOB block{static_cast<DWORD>(bytes.size()), bytes.data()};
    DATA_BLOB salt_block{static_cast<DWORD>(salt.size()), reinterpret_cast<BYTE*>(salt.data())};
    DATA_BLOB out{};
    if (unprotect(&block, nullptr, &salt_block, nullptr, nullptr, 0, &out)) {
        clear.assign(reinterpret_cast<const char*>(out.pbData), out.cbData);
        SecureZeroMemory(out.pbData, out.cbData);
        LocalFree(out.pbData);
    }
    return clear;
}

} // namespace cl
