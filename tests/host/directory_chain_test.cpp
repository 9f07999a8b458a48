#include "host/directory_chain.hpp"

#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace {

// A disk of folders and files; names without regard to doubled or trailing backslashes, as Windows has it.
struct disk final : vfl::folder_system {
    static std::wstring plain(const std::wstring& path) {
        std::wstring s;
        for (const wchar_t c : path)
            if (c != L'\\' || s.size() < 2 || s.back() != L'\\')
                s += c;
        while (s.size() > 1 && s.back() == L'\\')
            s.pop_back();
        return s;
    }
    bool is_folder(const std::wstring& path) override {
        tested.push_back(path);
        return !path.empty() && folders.contains(plain(path));
    }
    bool create_folder(const std::wstring& path) override {
        made.push_back(path);
        const std::wstring p = plain(path);
        const std::wstring above =
            p.substr(0, p.find_last_of(L'\\') == std::wstring::npos ? 0 : p.find_last_of(L'\\'));
        if (files.contains(p) || (!above.empty() && !folders.contains(plain(above))))
            return false;
        return folders.insert(p).second;
    }
    std::set<std::wstring> folders{L"C:", L"C:\\a", L"C:\\a\\b", L"r", L"\\t", L"\\\\srv\\share"},
        files{L"C:\\a\\file"};
    std::vector<std::wstring> tested, made;
};

TEST(directory_chain, walks_from_the_root) {
    using paths = std::vector<std::wstring>;
    struct row {
        const wchar_t* path;
        bool ok;
        paths tested, made;
    };
    const row rows[] = {
        {L"", true, {}, {}},
        {L"C:", true, {}, {}},
        {L"C:\\", true, {L"C:\\"}, {}},
        {L"\\\\", true, {}, {}},
        {L"C:\\a\\b", true, {L"C:\\a", L"C:\\a\\b"}, {}},
        {L"C:\\a\\b\\", true, {L"C:\\a", L"C:\\a\\b"}, {}},
        {L"C:\\a\\\\b", true, {L"C:\\a", L"C:\\a\\\\b"}, {}},
        {L"C:\\a\\x", true, {L"C:\\a", L"C:\\a\\x"}, {L"C:\\a\\x"}},
        {L"C:\\x\\y\\z\\", true, {L"C:\\x"}, {L"C:\\x", L"C:\\x\\y", L"C:\\x\\y\\z"}},
        {L"C:\\x\\\\y", true, {L"C:\\x"}, {L"C:\\x", L"C:\\x\\\\y"}},
        {L"C:rel\\x", true, {L"C:rel"}, {L"C:rel", L"C:rel\\x"}},
        {L"r\\x", true, {L"r", L"r\\x"}, {L"r\\x"}},
        {L"n", true, {L"n"}, {L"n"}},
        {L"\\t\\x", true, {L"\\t", L"\\t\\x"}, {L"\\t\\x"}},
        {L"C:\\a\\file\\x", false, {L"C:\\a", L"C:\\a\\file"}, {L"C:\\a\\file"}},
        {L"D:\\x", false, {L"D:\\x"}, {L"D:\\x"}},
        // The server is no folder.
        {L"\\\\srv\\share\\x", false, {L"\\\\srv"}, {L"\\\\srv"}},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(r.path)));
        disk d;
        EXPECT_EQ(vfl::create_directory_chain(r.path, d), r.ok);
        EXPECT_EQ(d.tested, r.tested);
        EXPECT_EQ(d.made, r.made);
    }
}

// Another process makes the folder between the test and the creation.
TEST(directory_chain, a_folder_that_appears_meanwhile_is_a_failure) {
    struct racing final : vfl::folder_system {
        bool is_folder(const std::wstring&) override { return false; }
        bool create_folder(const std::wstring& path) override { return path != L"C:\\x"; }
    } d;
    EXPECT_FALSE(vfl::create_directory_chain(L"C:\\x\\y", d));
}

} // namespace
