// The binder over a system that the test makes up: what is asked for, in which order, and how often.
#include "cl/sys/dynamic_entry.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/scramble.hpp"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using names = std::vector<std::wstring>;

void exported() {}

struct machine {
    std::mutex lock;
    names asked, present;
    std::map<void*, int> loads;
    std::wstring system = L"S:\\sys", windows = L"S:\\";
    int folder_queries = 0, frees = 0;
}* now = nullptr;

std::function<void()> on_load; // called with the table's lock held

const cl::module_calls calls{
    [](const wchar_t* path) -> cl::module_handle {
        if (on_load)
            on_load();
        const std::scoped_lock lock(now->lock);
        now->asked.emplace_back(path);
        const auto found = std::ranges::find(now->present, path);
        return found == now->present.end() ? nullptr : (++now->loads[&*found], &*found);
    },
    [](cl::module_handle module) {
        const std::scoped_lock lock(now->lock);
        ++now->frees;
        --now->loads[module];
    },
    [](cl::module_handle module, const char* function) -> cl::entry_point {
        const std::scoped_lock lock(now->lock);
        EXPECT_EQ(now->loads[module], 1) << "asked of a library that isn't loaded once";
        return std::string_view(function) == "missing" ? nullptr : exported;
    },
    [] { return ++now->folder_queries, now->system; },
    [] { return ++now->folder_queries, now->windows; },
};

struct library_binder : testing::Test {
    library_binder() { now = &state; }
    bool bind(const wchar_t* library, const char* function = "f", bool release_if_missing = true) {
        return cl::bind_entry_point(table, library, function, release_if_missing) == exported;
    }
    machine state;
    cl::library_table table{calls};
};

TEST_F(library_binder, one_load_and_one_unload_for_many_bindings) {
    state.present = {L"S:\\sys\\a.dll", L"C:\\x\\a.dll", L"S:\\sys\\gone.dll"};
    const auto release = [&](const wchar_t* library) { cl::release_library(table, library); };
    EXPECT_TRUE(bind(L"a.dll") && bind(L"a.dll") && bind(L"C:\\x\\a.dll"));
    EXPECT_FALSE(bind(L"A.DLL")) << "another spelling is another record";
    EXPECT_EQ(state.asked, (names{L"S:\\sys\\a.dll", L"C:\\x\\a.dll", L"S:\\sys\\A.DLL", L"S:\\A.DLL"}));
    EXPECT_EQ(state.folder_queries, 2) << "the folders are fetched once";
    state.present[2] = L"S:\\sys\\A.DLL";
    EXPECT_FALSE(bind(L"A.DLL")) << "what failed is not tried again";
    EXPECT_EQ(state.asked.size(), 4u);

    EXPECT_FALSE(bind(L"a.dll", "missing"));
    release(L"a.dll");
    EXPECT_EQ(state.frees, 0);
    release(L"a.dll");
    EXPECT_EQ(state.frees, 1) << "a missing function must leave the count where it was";
    release(L"a.dll");
    release(L"never bound");
    EXPECT_EQ(state.frees, 1);
    EXPECT_FALSE(bind(L"a.dll", "missing")) << "this binding is the library's last one";
    EXPECT_EQ(state.frees, 2);
    EXPECT_FALSE(bind(L"a.dll", "missing", false));
    EXPECT_EQ(state.frees, 2) << "the reference stays";
    release(L"a.dll");
    EXPECT_EQ(state.frees, 3);

    cl::create_libraries(calls);
    {
        const cl::dynamic_entry whole(L"a.dll", "f"), part(L"a.dll", "missing"), none(L"b.dll", "f");
        EXPECT_EQ(whole.as<void (*)()>(), exported);
        EXPECT_FALSE(part.address || none.address);
        EXPECT_EQ(state.frees, 3);
    }
    EXPECT_EQ(state.frees, 4);
}

TEST_F(library_binder, where_a_library_is_looked_for) {
    const struct {
        const char* name;
        const wchar_t *system, *windows, *library;
        names asked;
    } rows[] = {
        {"bare name", L"S:\\sys", L"S:\\w\\", L"a.dll", {L"S:\\sys\\a.dll", L"S:\\w\\a.dll"}},
        {"relative path", L"S:\\sys", L"S:\\w", L".\\a.dll", {L".\\a.dll"}},
        {"scrambled", L"S:\\sys", L"S:\\w", L".#/%|%F>|%", {L"S:\\sys\\ntdll.dll", L"S:\\w\\ntdll.dll"}},
        {"unknown system folder", L"", L"S:\\w", L"a.dll", {L"S:\\w\\a.dll"}},
        {"no folder known: no bare name may reach the system", L"", L"", L"a.dll", {}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        state.system = r.system;
        state.windows = r.windows;
        state.asked.clear();
        cl::library_table own{calls};
        EXPECT_EQ(cl::bind_entry_point(own, r.library, "f", true), nullptr);
        EXPECT_EQ(state.asked, r.asked);
    }
}

// The thread sanitizer judges this one; `find` above checks that no thread sees an unloaded library.
TEST_F(library_binder, many_threads_bind_and_release_at_once) {
    state.present = {L"S:\\sys\\a.dll", L"S:\\sys\\b.dll"};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&, t] {
            const wchar_t* const library = t % 2 ? L"a.dll" : L"b.dll";
            for (int i = 0; i < 200; ++i)
                if (bind(library, i % 5 ? "f" : "missing"))
                    cl::release_library(table, library);
        });
    for (std::thread& t : threads)
        t.join();
    for (const auto& [module, count] : state.loads)
        EXPECT_EQ(count, 0);
    EXPECT_EQ(std::ssize(state.asked), state.frees);

    // At the end of the process a lock that a dead thread holds stops nobody.
    EXPECT_TRUE(bind(L"a.dll"));
    table.begin_end();
    const int frees = state.frees;
    on_load = [&] { std::thread([&] { cl::release_library(table, L"a.dll"); }).join(); };
    EXPECT_FALSE(bind(L"c.dll"));
    on_load = nullptr;
    EXPECT_EQ(state.frees, frees);
    cl::release_library(table, L"a.dll");
    EXPECT_EQ(state.frees, frees + 1);
}

TEST(scramble, texts_come_back) {
    std::string printable(300, 'x');
    for (int c = 33; c < 128; ++c)
        printable += static_cast<char>(c);
    for (const std::string& text : {std::string(), std::string("two words\tand \xE4\xFF more"), printable}) {
        // The reverse, character by character.
        std::string s = text;
        int key = static_cast<int>(text.size()) + 11;
        for (char& c : s)
            if (const int plain = static_cast<signed char>(c); plain >= 33) {
                c = static_cast<char>((plain + key - 33) % 95 + 33);
                key = plain + 11;
            }
        cl::unscramble(s);
        EXPECT_EQ(s, text);
    }
    // By hand: the key is 2 + 11, then 13 places back from 'A'; behind it the key is the new character + 11.
    std::string by_hand = "AA";
    cl::unscramble(by_hand);
    EXPECT_EQ(by_hand, "4a");
}

} // namespace
