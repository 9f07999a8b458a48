// Both key classes over a key that the test prepares.
#include "cl/sys/os_info.hpp"
#include "cl/sys/registry_key.hpp"
#include "rows.hpp"

#include <windows.h>

namespace {

constexpr const wchar_t* subkey = L"Software\\VexaUnitTest";
constexpr std::uint32_t access_right = cl::registry_read_access;

struct registry : testing::Test {
    registry() {
        cl::fill_os_info(cl::read_os_facts());
        EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, subkey, 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_64KEY,
                                  nullptr, &made, nullptr),
                  0);
        EXPECT_TRUE(key.open(subkey, nullptr, access_right));
    }
    ~registry() override {
        RegCloseKey(made);
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, subkey, KEY_WOW64_64KEY, 0);
    }
    void put(const wchar_t* name, DWORD type, const void* data, std::size_t size) {
        ASSERT_EQ(
            RegSetValueExW(made, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)), 0);
    }
    HKEY made = nullptr;
    cl::registry_key key;
};

bool is_open(std::uintptr_t handle) {
    HKEY again = nullptr;
    return RegOpenKeyExW(reinterpret_cast<HKEY>(handle), L"", 0, KEY_READ, &again) == 0 &&
           RegCloseKey(again) == 0;
}

TEST_F(registry, texts_of_every_size_and_type) {
    cl::nt_registry_key nt;
    ASSERT_TRUE(nt.open(L"\\Registry\\Machine\\Software\\VexaUnitTest", nullptr, access_right));
    for_rows("registry_texts.tsv", [&](const row& r) {
        const std::wstring stored = r.wide("stored"), wanted = r.wide("text");
        const bool ok = r.number("ok") != 0;
        put(L"v", static_cast<DWORD>(r.number("type")), stored.data(), 2 * stored.size());
        std::wstring text = L"before", nt_text = L"before";
        EXPECT_EQ(key.read_string(L"v", text), ok);
        EXPECT_EQ(text, wanted);
        EXPECT_EQ(key.status == 0, ok);
        EXPECT_EQ(nt.read_string(L"v", nt_text), ok);
        EXPECT_EQ(nt_text, wanted.substr(0, 128));
        EXPECT_EQ(nt.status >= 0, ok);
    });
    std::wstring text;
    EXPECT_FALSE(nt.read_string(L"missing", text));
    EXPECT_EQ(nt.status, static_cast<std::int32_t>(0xC0000034));
    put(L"v", REG_SZ, L"\u00E4\u20AC", 6);
    std::string narrow;
    EXPECT_TRUE(key.read_string_narrow(L"v", narrow));
    EXPECT_EQ(narrow, "\xE4\x80");
    EXPECT_FALSE(key.read_string_narrow(L"missing", narrow));
    EXPECT_EQ(narrow, "");
    EXPECT_EQ(key.status, ERROR_FILE_NOT_FOUND);
}

TEST_F(registry, values_of_a_given_size_and_type) {
    const std::uint64_t wide = 0x1122334455667788;
    put(L"eight", REG_QWORD, &wide, 8);
    put(L"four", REG_DWORD, &wide, 4);
    const struct {
        const wchar_t* name;
        std::uint32_t size, type;
        std::int32_t status;
    } rows[] = {
        {L"eight", 8, REG_QWORD, 0},   {L"four", 4, REG_DWORD, 0},   {L"eight", 4, REG_QWORD, 234},
        {L"four", 8, REG_DWORD, 234},  {L"four", 8, REG_QWORD, 234}, {L"eight", 8, REG_BINARY, 1},
        {L"missing", 4, REG_DWORD, 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.size << " bytes of type " << r.type);
        std::uint64_t got = 0;
        EXPECT_EQ(key.read_value(r.name, &got, r.size, r.type), r.status == 0);
        EXPECT_EQ(key.status, r.status);
        EXPECT_TRUE(r.status || got == (r.size == 8 ? wide : wide & 0xFFFFFFFF));
    }
}

TEST_F(registry, opening_closes_what_was_open) {
    const std::uintptr_t first = key.handle;
    EXPECT_TRUE(is_open(first));
    EXPECT_FALSE(key.open(L"Software\\no such key", nullptr, access_right));
    EXPECT_EQ(key.status, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.handle, cl::no_registry_key);
    EXPECT_FALSE(is_open(first));
    EXPECT_TRUE(key.close());
    std::uintptr_t second = 0;
    {
        cl::registry_key root, local;
        ASSERT_TRUE(root.open(L"Software", HKEY_LOCAL_MACHINE, access_right));
        ASSERT_TRUE(local.open(L"VexaUnitTest", reinterpret_cast<void*>(root.handle), access_right));
        second = local.handle;
        EXPECT_TRUE(root.close());
        EXPECT_EQ(root.handle, cl::no_registry_key);
    }
    EXPECT_FALSE(is_open(second)) << "the destructor closes";

    cl::nt_registry_key nt, below;
    ASSERT_TRUE(nt.open(L"Software", nullptr, access_right)) << "below the machine's root";
    const std::uintptr_t machine = nt.handle;
    EXPECT_TRUE(below.open(L"vexaUNITtest", reinterpret_cast<void*>(machine), access_right));
    EXPECT_FALSE(nt.open(L"\\Registry\\no such root", nullptr, access_right));
    EXPECT_LT(nt.status, 0);
    EXPECT_EQ(nt.handle, cl::no_registry_key);
    EXPECT_FALSE(is_open(machine));
    EXPECT_FALSE(nt.open(std::wstring(40000, L'x'), nullptr, access_right))
        << "longer than the system can tell";
    CloseHandle(reinterpret_cast<HANDLE>(below.handle));
}

} // namespace
