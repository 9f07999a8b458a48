// The file classes on the system's own files.
#include "cl/file/file_time.hpp"
#include "cl/file/uni_file.hpp"
#include "temp_folder.hpp"

#include <gtest/gtest.h>

namespace {

struct real_file : testing::Test {
    const temp_folder folder;
    const std::wstring path = folder / L"\u00E4\u4E2D settings.ini";
};

TEST_F(real_file, text_in_each_encoding) {
    std::wstring text;
    for (int i = 0; i < 2000; ++i)
        text += static_cast<wchar_t>(L'a' + i % 26);
    for (std::uint32_t encoding = 0; encoding < 6; ++encoding) {
        SCOPED_TRACE(encoding);
        cl::uni_file file;
        // Write-through and not inheritable, as settings and logs ask for in turn.
        ASSERT_TRUE(file.open_as(path, 0x18382, encoding, 16)) << file.last_error;
        for (int i = 0; i < 20; ++i)
            ASSERT_TRUE(file.write_line(text + std::to_wstring(i) + L"\u00E4\u20AC"));
        ASSERT_TRUE(file.close());
        ASSERT_TRUE(file.open(path, 0x8020, 32));
        EXPECT_EQ(file.encoding, encoding);
        std::wstring line;
        for (int i = 0; i < 20; ++i) {
            ASSERT_TRUE(file.read_line(line));
            EXPECT_EQ(line, text + std::to_wstring(i) + L"\u00E4\u20AC");
            EXPECT_EQ(file.eol, 3);
        }
        EXPECT_FALSE(file.read_line(line));
        EXPECT_EQ(file.tell(), file.size() - file.bom_len);
    }
}

TEST_F(real_file, rewrite_through_a_temporary_file) {
    cl::uni_file source, temp, other;
    std::wstring name;
    ASSERT_TRUE(source.open_as(path, 0x8122, 1, 32));
    EXPECT_FALSE(other.open(path, 0x8122, 32));
    EXPECT_TRUE(other.was_sharing_violation());
    EXPECT_TRUE(source.write_line(L"a longer old line"));
    ASSERT_TRUE(temp.open_temp(folder / L"ini", 0x8022, &name));
    EXPECT_FALSE(other.open(name, 0x8020, 64)) << "it belongs to this object alone";
    EXPECT_TRUE(other.was_sharing_violation());
    EXPECT_TRUE(temp.set_encoding(1, false) && temp.write_bom() && temp.set_end());
    EXPECT_TRUE(temp.write_line(L"new"));
    EXPECT_TRUE(temp.copy_to(source, true));
    EXPECT_TRUE(temp.close());
    EXPECT_FALSE(other.open(name, 0x8020, 64)) << "closed is gone";
    EXPECT_TRUE(other.was_not_found());
    std::string line;
    EXPECT_TRUE(source.read_line(line));
    EXPECT_EQ(line, "new");
    EXPECT_EQ(source.size(), 8);
    EXPECT_TRUE(source.close());
    EXPECT_FALSE(other.open(path, 0x8501, 64));
    EXPECT_EQ(other.last_error, 80u) << "create and exclusive";

    cl::packed_time utc = 0, local = 0;
    EXPECT_TRUE(cl::file_write_time(path.c_str(), utc, true));
    EXPECT_TRUE(cl::file_write_time(path.c_str(), local, false));
    EXPECT_GE(utc >> 52, 2024u);
    EXPECT_EQ(utc << 32, local << 32) << "seconds and milliseconds are those of UTC";
}

} // namespace
