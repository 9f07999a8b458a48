// The settings in the registry, and passphrases that the system itself has protected.
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/sys/registry_key.hpp"
#include "cl/wifi/passphrase.hpp"
#include "cl/wifi/wifi_config.hpp"
#include "contracts/registry_values.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <dpapi.h>

namespace {

// In hexadecimal, upper case.
std::string protect(std::string clear, std::string entropy, DWORD flags = CRYPTPROTECT_LOCAL_MACHINE) {
    DATA_BLOB in{static_cast<DWORD>(clear.size()), reinterpret_cast<BYTE*>(clear.data())};
    DATA_BLOB salt{static_cast<DWORD>(entropy.size()), reinterpret_cast<BYTE*>(entropy.data())};
    DATA_BLOB out{};
    EXPECT_TRUE(CryptProtectData(&in, nullptr, &salt, nullptr, nullptr, flags, &out));
    std::string text;
    for (DWORD i = 0; i < out.cbData; ++i) {
        text += "0123456789ABCDEF"[out.pbData[i] >> 4];
        text += "0123456789ABCDEF"[out.pbData[i] & 15];
    }
    LocalFree(out.pbData);
    return text;
}

TEST(unprotect_hex, round_trips_and_everything_else_is_empty) {
    cl::create_libraries(cl::windows_modules);
    const std::string salt = VFL_WIFI_ENTROPY;
    for (const std::string& clear : {std::string(63, 'z'), std::string("a\0b \xE4\xFF", 6)})
        EXPECT_EQ(cl::unprotect_hex(protect(clear, salt), salt), clear);
    EXPECT_EQ(cl::unprotect_hex(protect("12345678", salt, 0), salt), "12345678") << "the account's own scope";
    const std::string text = protect("12345678", salt);
    const struct {
        const char* name;
        std::string text, entropy;
    } rows[] = {
        {"empty", "", salt},
        {"odd", text.substr(1), salt},
        {"cut", text.substr(0, text.size() - 40), salt},
        {"not a block", "00112233445566778899AABBCCDDEEFF", salt},
        {"no digits", std::string(64, '?'), salt},
        {"other entropy", text, "Qk7TzW2nHb9S"},
        {"no entropy", text, ""},
        {"entropy with its terminator", text, salt + '\0'},
    };
    for (const auto& r : rows)
        EXPECT_EQ(cl::unprotect_hex(r.text, r.entropy), "") << r.name;
}

struct wifi_config : testing::Test {
    wifi_config() {
        cl::fill_os_info(cl::read_os_facts());
        EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, VFL_WIFI_KEY, 0, nullptr, 0,
                                  KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &key, nullptr),
                  0);
        clear();
    }
    ~wifi_config() override {
        clear();
        RegCloseKey(key);
    }
    // The key holds other settings too.
    void clear() {
        for (const wchar_t* name : {VFL_WIFI_AUTOSTART, VFL_WIFI_SSID, VFL_WIFI_PASSWORD})
            RegDeleteValueW(key, name);
    }
    void put(const wchar_t* name, DWORD type, const void* data, std::size_t size) {
        EXPECT_EQ(
            RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)), 0);
    }
    void put_text(const wchar_t* name, const std::wstring& text) {
        put(name, REG_SZ, text.c_str(), 2 * text.size() + 2);
    }
    // Both texts as they are read.
    static std::string read() {
        std::string ssid = "before", password = "before";
        cl::read_wifi_config(ssid, password);
        return ssid + "|" + password;
    }
    HKEY key = nullptr;
};

TEST_F(wifi_config, autostart_takes_a_number_of_four_bytes) {
    EXPECT_FALSE(cl::autostart_enabled());
    const struct {
        DWORD type;
        std::uint64_t value;
        std::size_t size;
        bool on;
    } rows[] = {
        {REG_DWORD, 1, 4, true},   {REG_DWORD, 0, 4, false}, {REG_DWORD, 0x80000000, 4, true},
        {REG_DWORD, 1, 2, false},  {REG_DWORD, 1, 8, false}, {REG_QWORD, 1, 8, false},
        {REG_BINARY, 1, 4, false}, {REG_SZ, '1', 4, false},  {REG_DWORD, 1, 0, false},
    };
    for (const auto& r : rows) {
        put(VFL_WIFI_AUTOSTART, r.type, &r.value, r.size);
        EXPECT_EQ(cl::autostart_enabled(), r.on)
            << "type " << r.type << ", " << r.value << ", " << r.size << " bytes";
    }
}

TEST_F(wifi_config, ssid_and_passphrase) {
    EXPECT_EQ(read(), "|");
    const std::string text = protect("a passphrase", VFL_WIFI_ENTROPY);
    put_text(VFL_WIFI_SSID, L"caf\u00E9 \u20AC");
    put_text(VFL_WIFI_PASSWORD, std::wstring(text.begin(), text.end()));
    EXPECT_EQ(read(), "caf\xE9 \x80|a passphrase");
    put(VFL_WIFI_SSID, REG_DWORD, "1234", 4);
    put_text(VFL_WIFI_PASSWORD, L"12345678");
    EXPECT_EQ(read(), "|") << "a passphrase that isn't protected is none";
}

} // namespace
