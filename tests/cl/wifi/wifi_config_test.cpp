// The settings in the registry, and passphrases that the system itself has protected.
#include "cl/sys/os_info.hpp"
#include "cl/sys/registry_key.hpp"
#include "cl/wifi/passphrase.hpp"
#include "cl/wifi/registry_values.h"
#include "cl/wifi/wifi_config.hpp"

#include <cctype>
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

std::string lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

TEST(unprotect_hex, round_trips_and_everything_else_is_empty) {
    const std::string salt = VFL_WIFI_ENTROPY;
    const std::string texts[] = {"12345678", std::string(63, 'z'), std::string("a\0b \xE4\xFF", 6)};
    for (const std::string& clear : texts) {
        SCOPED_TRACE(clear);
        const std::string text = protect(clear, salt);
        EXPECT_EQ(cl::unprotect_hex(text, salt), clear);
        EXPECT_EQ(cl::unprotect_hex(lower(text), salt), clear);
    }
    const std::string text = protect("12345678", salt);
    EXPECT_EQ(cl::unprotect_hex(protect("12345678", salt, 0), salt), "12345678") << "the account's own scope";
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

class wifi_config : public testing::Test {
protected:
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
        ASSERT_EQ(
            RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)), 0);
    }
    void put_text(const wchar_t* name, const std::wstring& text) {
        put(name, REG_SZ, text.c_str(), 2 * text.size() + 2);
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
        {REG_BINARY, 1, 4, false}, {REG_SZ, '1', 4, false},  {REG_DWORD, 0xFFFFFFFF, 4, true},
        {REG_DWORD, 1, 0, false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message()
                     << "type " << r.type << ", " << r.value << ", " << r.size << " bytes");
        put(VFL_WIFI_AUTOSTART, r.type, &r.value, r.size);
        EXPECT_EQ(cl::autostart_enabled(), r.on);
    }
}

TEST_F(wifi_config, ssid_and_passphrase) {
    std::string ssid = "before", password = "before";
    cl::read_wifi_config(ssid, password);
    EXPECT_EQ(ssid, "");
    EXPECT_EQ(password, "");

    const std::string text = protect("a passphrase", VFL_WIFI_ENTROPY);
    put_text(VFL_WIFI_SSID, L"caf\u00E9 \u20AC");
    put_text(VFL_WIFI_PASSWORD, std::wstring(text.begin(), text.end()));
    cl::read_wifi_config(ssid, password);
    EXPECT_EQ(ssid, "caf\xE9 \x80");
    EXPECT_EQ(password, "a passphrase");

    const DWORD number = 1;
    put(VFL_WIFI_SSID, REG_DWORD, &number, sizeof number);
    put_text(VFL_WIFI_PASSWORD, L"12345678");
    cl::read_wifi_config(ssid, password);
    EXPECT_EQ(ssid, "");
    EXPECT_EQ(password, "") << "a passphrase that isn't protected is none";
}

} // namespace
