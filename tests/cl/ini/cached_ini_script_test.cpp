// Random scripts of edits, foreign edits of the file, flushes, reloads and lookups: after each step the real
// cache shows what the naive one shows, and the file holds the same bytes.
#include "cl/ini/ini_fixture.hpp"
#include "cl/ini/ini_script.hpp"

#include <gtest/gtest.h>

namespace {

using namespace ini_script;
using namespace ini_fixture;

struct model {
    naive::cache cache;
    naive::text file;
    std::string bytes;
    std::uint32_t encoding = cl::encoding_ansi;
    bool unicode = false, attached = true, armed = false;
    std::uint64_t stamp = 0;
    std::uint32_t deadline = 0, last_check = 0, interval = 0, delay = 2000;

    void set_bytes(const naive::text& lines, const std::string& text, std::uint32_t as) {
        file = lines;
        encoding = as;
        bytes = encoded(text, as);
    }
    void load() {
        cache.load(file);
        stamp = fakes::disk::write_time(file_path);
        last_check = cl::os::tick_count();
    }
    void flush() {
        if (!attached || !cache.dirty)
            return;
        armed = false;
        if (bytes.empty()) // the open writes the mark
            set_bytes({}, "", unicode ? cl::encoding_utf8 : cl::encoding_ansi);
        const bool any = std::any_of(cache.sections.begin(), cache.sections.end(),
                                     [](const naive::section& s) { return s.changed; });
        const naive::text lines = cache.flush(file, encoding == cl::encoding_utf8);
        if (!any)
            return;
        set_bytes(lines, with_crlf(lines),
                  encoding == cl::encoding_ansi && unicode ? std::uint32_t{cl::encoding_utf8} : encoding);
        stamp = fakes::disk::write_time(file_path); // the real one has flushed before
    }
    void reload() {
        if (!attached)
            return;
        flush();
        load();
    }
    void refresh(std::uint64_t time_of_file) {
        const std::uint32_t now = cl::os::tick_count();
        if (!attached || now - last_check < interval)
            return;
        if (time_of_file == stamp)
            last_check = now;
        else
            reload();
    }
    void edited(bool schedule) {
        if (!schedule)
            return;
        if (delay == 0)
            return flush();
        if (!armed)
            deadline = cl::os::tick_count() + delay;
        armed = true;
    }
};

struct script {
    std::mt19937 engine;
    generator random = random_generator(engine);
    world around;
    cl::cached_ini ini{around.timer};
    model expected;

    explicit script(std::uint32_t seed) : engine(seed) {
        expected.unicode = random.below(2);
        ini.flush_delay = expected.delay = random.below(8) ? 2000 : 0;
        ini.check_interval = expected.interval = random.below(2) ? 2000 : 0;
        foreign_edit();
        ini.set_file(file_path, expected.unicode);
        expected.load();
    }

    // The file as someone else writes it: any encoding, any line ends, perhaps a last line without one.
    void foreign_edit() {
        naive::text lines = random.below(3) ? expected.file : naive::text();
        for (const std::string& line : random.text(random.below(4) ? 3 : 12))
            lines.insert(
                lines.begin() + static_cast<std::ptrdiff_t>(random.below(unsigned(lines.size()) + 1)), line);
        if (!lines.empty() && random.below(3) == 0)
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(random.below(unsigned(lines.size()))));
        std::string text;
        for (const std::string& line : lines)
            text += line + random.pick({"\n", "\r\n", "\r\n", "\r\n"});
        if (!lines.empty() && !lines.back().empty() && random.below(3) == 0)
            text.resize(text.find_last_not_of("\r\n") + 1);
        expected.set_bytes(lines, text,
                           random.below(2) ? random.below(cl::encoding_count) : expected.encoding);
        fakes::disk::put(file_path, expected.bytes);
    }

    std::string step() {
        switch (random.below(12)) {
        default: {
            const edit e = random.next_edit();
            const bool schedule = e.what != edit::write_value || random.below(4);
            EXPECT_TRUE(e.apply(ini, schedule));
            const bool scheduled = e.apply(expected.cache);
            expected.edited(schedule && scheduled);
            return "edit " + std::to_string(e.what) + " [" + e.section + "] " + e.key + "=" + e.value;
        }
        case 0:
        case 1:
            foreign_edit();
            return "foreign edit";
        case 2:
            EXPECT_EQ(ini.flush(), expected.attached);
            expected.flush();
            return "flush";
        case 3:
            EXPECT_EQ(ini.reload(), expected.attached);
            expected.reload();
            return "reload";
        case 4: {
            const std::uint64_t time = fakes::disk::write_time(file_path);
            std::vector<std::wstring> ignored;
            ini.get_section_names_current(ignored);
            expected.refresh(time);
            return "refresh";
        }
        case 5: {
            around.timer.advance(random.below(2) ? 700 : 2100);
            if (expected.armed && static_cast<std::int32_t>(cl::os::tick_count() - expected.deadline) >= 0) {
                expected.armed = false;
                expected.flush();
            }
            return "time";
        }
        case 6:
            if (random.below(8))
                return "nothing";
            if (expected.attached) {
                ini.close();
                expected.flush();
                expected.attached = false;
                return "close";
            }
            ini.set_file(file_path, expected.unicode);
            expected.attached = true;
            expected.cache.dirty = false;
            expected.load();
            return "set_file";
        }
    }
};

TEST(cached_ini_script, shows_and_writes_what_the_naive_one_does) {
    for (std::uint32_t seed = 1; seed <= 2000; ++seed) {
        script s(seed);
        std::string done = "load";
        for (int i = 0; i <= 20; ++i) {
            ASSERT_EQ(shown(s.ini), shown(s.expected.cache))
                << "seed " << seed << ", step " << i << ": " << done;
            ASSERT_EQ(fakes::disk::bytes(file_path), s.expected.bytes)
                << "seed " << seed << ", step " << i << ": " << done;
            ASSERT_EQ(fakes::disk::open_handles(), 0);
            done = s.step();
        }
        EXPECT_EQ(s.around.trace.err.text + s.around.trace.out.text, "");
    }
}

} // namespace
