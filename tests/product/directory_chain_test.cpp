#include "product/directory_chain.hpp"

#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace {

using paths = std::vector<std::wstring>;

// These folders exist, and these can't be made.
struct disk final : vfl::folder_system {
    bool is_folder(const std::wstring& path) override {
        tested.push_back(path);
        return path == L"C:\\" || path.starts_with(L"C:\\a") || path == L"r" || path == L"\\t";
    }
    bool create_folder(const std::wstring& path) override {
        made.push_back(path);
        return path != L"C:\\x\\file" && path != L"D:\\x" && !path.starts_with(L"\\\\");
    }
    paths tested, made;
};

TEST(directory_chain, walks_from_the_root) {
    const struct {
        const wchar_t* path;
        bool ok;
        paths tested, made;
    } rows[] = {
        {L"", true, {}, {}},
        {L"C:", true, {}, {}},
        {L"C:\\", true, {L"C:\\"}, {}},
        {L"\\\\", true, {}, {}},
        {L"C:\\a\\ab\\", true, {L"C:\\a", L"C:\\a\\ab"}, {}},
        {L"C:\\a\\\\b", true, {L"C:\\a", L"C:\\a\\\\b"}, {}},
        {L"C:\\x\\y\\z\\", true, {L"C:\\x"}, {L"C:\\x", L"C:\\x\\y", L"C:\\x\\y\\z"}},
        {L"C:\\x\\\\y", true, {L"C:\\x"}, {L"C:\\x", L"C:\\x\\\\y"}},
        {L"C:rel\\x", true, {L"C:rel"}, {L"C:rel", L"C:rel\\x"}},
        {L"r\\x", true, {L"r", L"r\\x"}, {L"r\\x"}},
        {L"\\t\\x", true, {L"\\t", L"\\t\\x"}, {L"\\t\\x"}},
        {L"C:\\x\\file\\y", false, {L"C:\\x"}, {L"C:\\x", L"C:\\x\\file"}},
        {L"D:\\x", false, {L"D:\\x"}, {L"D:\\x"}},
        {L"\\\\srv\\share\\x", false, {L"\\\\srv"}, {L"\\\\srv"}}, // the server is no folder
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(r.path)));
        disk d;
        EXPECT_EQ(vfl::create_directory_chain(r.path, d), r.ok);
        EXPECT_EQ(d.tested, r.tested);
        EXPECT_EQ(d.made, r.made);
    }
}

} // namespace
