// The binder over a system that the test makes up: what is asked for, in which order, and how often.
#include "cl/sys/dynamic_entry.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/scramble.hpp"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using cl::bind_entry_point;
using cl::release_library;

void exported() {}

struct machine {
    std::mutex lock;
    std::vector<std::wstring> asked, present;
    std::vector<std::string> functions;
    std::map<void*, int> loads;
    std::wstring system = L"S:\\sys", windows = L"S:\\";
    int folder_queries = 0, frees = 0;
}* now = nullptr;

const cl::module_calls calls{
    [](const wchar_t* path) -> cl::module_handle {
        const std::scoped_lock lock(now->lock);
        now->asked.emplace_back(path);
        const auto found = std::find(now->present.begin(), now->present.end(), path);
        if (found == now->present.end())
            return nullptr;
        ++now->loads[&*found];
        return &*found;
    },
    [](cl::module_handle module) {
        const std::scoped_lock lock(now->lock);
        ++now->frees;
        --now->loads[module];
    },
    [](cl::module_handle module, const char* function) -> cl::entry_point {
        const std::scoped_lock lock(now->lock);
        EXPECT_EQ(now->loads[module], 1) << "asked of a library that isn't loaded once";
        now->functions.emplace_back(function);
        return std::string_view(function) == "missing" ? nullptr : exported;
    },
    [] { return ++now->folder_queries, now->system; },
    [] { return ++now->folder_queries, now->windows; },
};

class library_binder : public testing::Test {
protected:
    library_binder() { now = &state; }
    cl::entry_point bind(const wchar_t* library, const char* function = "f", bool release_if_missing = true) {
        return bind_entry_point(table, library, function, release_if_missing);
    }
    machine state;
    cl::library_table table{calls};
};

using names = std::vector<std::wstring>;

TEST_F(library_binder, one_load_and_one_unload_for_many_bindings) {
    state.present = {L"S:\\sys\\a.dll", L"C:\\x\\a.dll"};
    EXPECT_EQ(bind(L"a.dll"), exported);
    EXPECT_EQ(bind(L"a.dll"), exported);
    EXPECT_EQ(bind(L"A.DLL"), nullptr) << "another spelling is another record";
    EXPECT_EQ(bind(L"C:\\x\\a.dll"), exported);
    EXPECT_EQ(state.asked, (names{L"S:\\sys\\a.dll", L"S:\\sys\\A.DLL", L"S:\\A.DLL", L"C:\\x\\a.dll"}));

    EXPECT_EQ(bind(L"a.dll", "missing"), nullptr);
    release_library(table, L"a.dll");
    EXPECT_EQ(state.frees, 0);
    release_library(table, L"a.dll");
    EXPECT_EQ(state.frees, 1) << "a missing function must leave the count where it was";
    release_library(table, L"a.dll");
    release_library(table, L"never bound");
    EXPECT_EQ(state.frees, 1);

    EXPECT_EQ(bind(L"a.dll", "missing"), nullptr) << "this binding is the library's last one";
    EXPECT_EQ(state.frees, 2);
    EXPECT_EQ(bind(L"a.dll", "missing", false), nullptr);
    EXPECT_EQ(state.frees, 2) << "the reference stays";
    release_library(table, L"a.dll");
    EXPECT_EQ(state.frees, 3);
}

TEST_F(library_binder, a_library_that_failed_is_not_tried_again) {
    EXPECT_EQ(bind(L"gone.dll"), nullptr);
    state.present = {L"S:\\sys\\gone.dll"};
    EXPECT_EQ(bind(L"gone.dll"), nullptr);
    EXPECT_EQ(state.asked.size(), 2u);
    EXPECT_EQ(state.frees, 0);
}

TEST_F(library_binder, where_a_library_is_looked_for) {
    struct row {
        const char* name;
        const wchar_t *system, *windows, *library;
        names asked;
    };
    const row rows[] = {
        {"bare name", L"S:\\sys", L"S:\\w\\", L"a.dll", {L"S:\\sys\\a.dll", L"S:\\w\\a.dll"}},
        {"full path", L"S:\\sys", L"S:\\w", L"C:\\p\\a.dll", {L"C:\\p\\a.dll"}},
        {"relative path", L"S:\\sys", L"S:\\w", L".\\a.dll", {L".\\a.dll"}},
        {"scrambled", L"S:\\sys", L"S:\\w", L".#/%|%F>|%", {L"S:\\sys\\ntdll.dll", L"S:\\w\\ntdll.dll"}},
        {"unknown system folder", L"", L"S:\\w", L"a.dll", {L"S:\\w\\a.dll"}},
        {"no folder known: no bare name may reach the system", L"", L"", L"a.dll", {}},
    };
    for (const row& r : rows) {
        SCOPED_TRACE(r.name);
        machine fresh;
        fresh.system = r.system;
        fresh.windows = r.windows;
        now = &fresh;
        cl::library_table own{calls};
        EXPECT_EQ(bind_entry_point(own, r.library, "f", true), nullptr);
        EXPECT_EQ(fresh.asked, r.asked);
    }
    now = &state;
    bind(L"x");
    bind(L"y");
    EXPECT_EQ(state.folder_queries, 2) << "the folders are fetched once";
}

TEST_F(library_binder, an_entry_holds_its_library) {
    state.present = {L"S:\\sys\\a.dll"};
    cl::create_libraries(calls);
    {
        const cl::dynamic_entry whole(L"a.dll", "f"), part(L"a.dll", "missing"), none(L"b.dll", "f");
        EXPECT_EQ(whole.as<void (*)()>(), exported);
        EXPECT_EQ(part.address, nullptr);
        EXPECT_EQ(none.address, nullptr);
        EXPECT_EQ(state.frees, 0);
    }
    EXPECT_EQ(state.frees, 1);
}

// The thread sanitizer judges this one; `find` above checks that no thread sees an unloaded library.
TEST_F(library_binder, many_threads_bind_and_release_at_once) {
    state.present = {L"S:\\sys\\a.dll", L"S:\\sys\\b.dll"};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&, t] {
            const wchar_t* const library = t % 2 ? L"a.dll" : L"b.dll";
            for (int i = 0; i < 200; ++i) {
                if (bind(library, i % 5 ? "f" : "missing"))
                    release_library(table, library);
            }
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& [module, count] : state.loads)
        EXPECT_EQ(count, 0);
    EXPECT_EQ(state.asked.size(), static_cast<std::size_t>(state.frees));
}

// The reverse, character by character, to make texts for the routine under test.
std::string scramble(std::string text) {
    int key = static_cast<int>(text.size()) + 11;
    for (char& c : text) {
        if (static_cast<signed char>(c) < 33)
            continue;
        const int plain = c;
        c = static_cast<char>((plain + key - 33) % 95 + 33);
        key = plain + 11;
    }
    return text;
}

TEST(scramble, texts_come_back) {
    std::string printable;
    for (int c = 33; c < 128; ++c)
        printable += static_cast<char>(c);
    const std::string texts[] = {
        "", "a", "GetProcAddress", "two words\tand \xE4\xFF more", printable, std::string(300, 'x')};
    for (const std::string& text : texts) {
        std::string s = scramble(text);
        cl::unscramble(s);
        EXPECT_EQ(s, text);
    }
    // By hand: the key is 1 + 11, then 12 + 33 places back from 'A'; behind it the key is the new character
    // + 11.
    std::string by_hand = "A";
    cl::unscramble(by_hand);
    EXPECT_EQ(by_hand, "5");
    by_hand = "AA";
    cl::unscramble(by_hand);
    EXPECT_EQ(by_hand, "4a");
}

} // namespace
