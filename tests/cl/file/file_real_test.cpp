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

} // namespace
