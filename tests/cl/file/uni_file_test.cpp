#include "cl/file/uni_file.hpp"

#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using namespace std::string_literals;

const std::wstring path = L"C:\\data\\text.ini";

struct uni_file_test : testing::Test {
    uni_file_test() { disk::reset(); }
};

TEST_F(uni_file_test, detection) {
    const struct {
        std::string content;
        std::uint32_t encoding, bom_len;
        std::wstring first_line;
    } rows[] = {
        {"abc", 0, 0, L"abc"},
        {"\xEF\xBB\xBF"
         "abc",
         1, 3, L"abc"},
        {"\xEF\xBB", 0, 0, L"\u00EF\u00BB"},
        {"\xEF\xBBx", 0, 0, L"\u00EF\u00BBx"},
        {"\xEF", 0, 0, L"\u00EF"},
        {"\xFE\xFF\0a"s, 3, 2, L"a"},
        {"\xFE"
         "a",
         0, 0,
         L"\u00FE"
         L"a"},
        {"\xFF\xFE"
         "a\0"s,
         2, 2, L"a"},
        {"\xFF\xFE\0\x41"s, 2, 2, {0x4100}},
        {"\xFF\xFE\0"s, 2, 2, L""},
        {"\xFF\xFE\0\0a\0\0\0"s, 4, 4, L"a"},
        {"\xFF", 0, 0, L"\u00FF"},
        {"\0\0\xFE\xFF\0\0\0a"s, 5, 4, L"a"},
        {"\0\0\xFE"s, 0, 0, {0, 0, 0xFE}},
        {"\0a"s, 0, 0, {0, 'a'}},
        {"\xEF\xBB\xBF", 1, 3, L""},
    };
    for (const auto& row : rows)
        for (const std::uint32_t flags : {0u, 2u, 10u}) {
            SCOPED_TRACE(testing::PrintToString(row.content) + std::to_string(flags));
            disk::put(path, row.content);
            cl::uni_file file;
            ASSERT_TRUE(file.open_as(path, flags, 1, 64));
            EXPECT_EQ(file.encoding, row.encoding);
            EXPECT_EQ(file.bom_len, row.bom_len);
            const auto text = static_cast<std::int64_t>(row.content.size()) - row.bom_len;
            EXPECT_EQ(file.tell(), flags & 8 ? text : 0);
            EXPECT_EQ(file.seek(0, 0), 0);
            std::wstring line;
            EXPECT_EQ(file.read_line(line), !row.first_line.empty());
            EXPECT_EQ(line, row.first_line);
            EXPECT_EQ(disk::bytes(path), row.content);
        }
}

} // namespace
