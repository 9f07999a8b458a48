// Random scripts of edits, foreign edits of the file, flushes, reloads and lookups: after each step the real
// cache shows what the naive one shows, and the file holds the same bytes.
#include "cl/ini/ini_fixture.hpp"
#include "cl/ini/ini_script.hpp"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace ini_script;
using namespace ini_fixture;
using fakes::disk;

struct script : world {
    std::mt19937 engine;
    generator random{[this](unsigned limit) { return static_cast<unsigned>(engine() % limit); }};
    cl::cached_ini ini{timer};

    // What is expected of it.
    naive::cache cache;
    text file;
    edit last{};
    std::string bytes;
    std::uint32_t encoding = cl::encoding_ansi;
    bool unicode = false, attached = true, armed = false;
    std::uint64_t stamp = 0;
    std::uint32_t deadline = 0, last_check = 0;

    explicit script(std::uint32_t seed) : engine(seed) {
        unicode = random.below(2);
        ini.flush_delay = random.below(8) ? 2000 : 0;
        ini.check_interval = random.below(2) ? 2000 : 0;
        foreign_edit();
        ini.set_file(file_path, unicode);
        load();
    }

    void set_bytes(const text& lines, const string& raw, std::uint32_t as) {
        file = lines;
        encoding = as;
        bytes = encoded(raw, as);
    }
    void load() {
        cache.load(file);
        stamp = disk::write_time(file_path);
        last_check = cl::os::tick_count();
    }
    // The real one has flushed before.
    void flush() {
        if (!attached || !cache.dirty)
            return;
        armed = false;
        if (bytes.empty()) // the open writes the mark
            set_bytes({}, L"", unicode ? cl::encoding_utf8 : cl::encoding_ansi);
        const auto lines = cache.flush(file, encoding == cl::encoding_utf8);
        if (!lines)
            return;
        set_bytes(*lines, with_crlf(*lines),
                  encoding == cl::encoding_ansi && unicode ? std::uint32_t{cl::encoding_utf8} : encoding);
        stamp = disk::write_time(file_path);
    }
    void reload() {
        if (!attached)
            return;
        flush();
        load();
    }

    // The file as someone else writes it: any encoding, any line ends, perhaps a last line without one.
    void foreign_edit() {
        text lines = random.below(3) ? file : text();
        const auto place = [&](std::size_t more) {
            return lines.begin() + static_cast<std::ptrdiff_t>(random.below(unsigned(lines.size() + more)));
        };
        for (const string& line : random.lines(random.below(4) ? 3 : 12))
            lines.insert(place(1), line);
        if (!lines.empty() && random.below(3) == 0)
            lines.erase(place(0));
        string raw;
        for (const string& line : lines)
            raw += line + random.pick({L"\n", L"\r\n", L"\r\n", L"\r\n"});
        if (!lines.empty() && !lines.back().empty() && random.below(3) == 0)
            raw.resize(raw.find_last_not_of(L"\r\n") + 1);
        set_bytes(lines, raw, random.below(2) ? random.below(cl::encoding_count) : encoding);
        disk::put(file_path, bytes);
    }

    void make_edit() {
        const edit before = std::exchange(last, random.next_edit());
        if (random.below(4) == 0) {
            last.section = before.section;
            last.key = before.key;
        }
        const edit& e = last;
        const bool schedule = e.what != edit::write_value || random.below(4);
        EXPECT_TRUE(e.apply(ini, schedule));
        if (!e.apply(cache, schedule))
            return;
        if (ini.flush_delay == 0)
            return flush();
        if (!armed)
            deadline = cl::os::tick_count() + ini.flush_delay;
        armed = true;
    }

    void refresh() {
        const std::uint64_t time_of_file = disk::write_time(file_path);
        string value;
        text lines;
        std::vector<std::pair<string, string>> pairs;
        const std::function<void()> looks[] = {
            [&] { ini.get_value_current(L"a", L"k", value); },
            [&] { ini.get_section_current(L"a", lines, 0); },
            [&] { ini.get_section_pairs_current(L"a", pairs); },
            [&] { ini.section_exists_current(L"a"); },
            [&] { ini.get_section_names_current(lines); },
        };
        looks[random.below(5)]();
        const std::uint32_t now = cl::os::tick_count();
        if (!attached || now - last_check < ini.check_interval)
            return;
        if (time_of_file == stamp)
            last_check = now;
        else
            reload();
    }

    void pass_time() {
        advance(random.below(2) ? 700 : 2000);
        if (armed && static_cast<std::int32_t>(cl::os::tick_count() - deadline) >= 0) {
            armed = false;
            flush();
        }
    }

    void close_or_attach() {
        if (attached) {
            ini.close();
            flush();
            attached = false;
        } else {
            ini.set_file(file_path, unicode);
            attached = true;
            cache.dirty = false;
            load();
        }
    }

    void step() {
        const unsigned what = random.below(24);
        if (what < 3) {
            foreign_edit();
        } else if (what < 5) {
            EXPECT_EQ(ini.flush(), attached);
            flush();
        } else if (what < 7) {
            EXPECT_EQ(ini.reload(), attached);
            reload();
        } else if (what < 10) {
            refresh();
        } else if (what < 12) {
            pass_time();
        } else if (what < 13) {
            close_or_attach();
        } else {
            make_edit();
        }
    }
};

TEST(cached_ini_script, shows_and_writes_what_the_naive_one_does) {
    for (std::uint32_t seed = 1; seed <= 1000; ++seed) {
        script s(seed);
        for (int i = 0; i <= 20; ++i, s.step()) {
            ASSERT_EQ(shown(s.ini), shown(s.cache)) << "seed " << seed << ", step " << i;
            ASSERT_EQ(disk::bytes(file_path), s.bytes) << "seed " << seed << ", step " << i;
            ASSERT_EQ(disk::open_handles(), 0);
        }
        EXPECT_EQ(s.trace.err.text + s.trace.out.text, "");
    }
}

} // namespace
