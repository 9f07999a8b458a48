// The settings cache beside SimpleIni, a well-known INI library that keeps a file as trees of pointers into
// one block: loading a file, looking up keys, and bringing one changed key to the disk.
#include "bench_case.hpp"
#include "cl/ini/cached_ini.hpp"
#include "cl/time/passive_timer.hpp"
#include "ini_contestants.hpp"
#include "temp_folder.hpp"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

std::string key_text(int key) {
    return "setting_" + std::to_string(key);
}

// `keys` keys with their values, in sections of `per_section`; a comment ahead of every eighth key.
std::string make_text(int keys, int per_section) {
    std::string text = "\xEF\xBB\xBF\r\n";
    for (int key = 0; key < keys; ++key) {
        if (key % per_section == 0)
            text += "[section " + std::to_string(key / per_section) + "]\r\n";
        if (key % 8 == 0)
            text += "; what the next settings are about\r\n";
        text += key_text(key) + " = value " + std::to_string(key * 7919) + "\r\n";
        if (key % per_section == per_section - 1)
            text += "\r\n";
    }
    return text;
}

struct fixture {
    fixture(cl::base_timer& t, const std::wstring& file_path, std::string narrow, int key_count,
            int in_section)
        : timer(t), path(file_path), narrow_path(std::move(narrow)), keys(key_count),
          per_section(in_section) {
        std::ofstream(narrow_path, std::ios::binary) << make_text(keys, per_section);
        load();
        theirs = load_simple_ini(narrow_path);
        for (int i = 0; i < 1000; ++i) {
            const int key = static_cast<int>((i * 2654435761U >> 8) % static_cast<unsigned>(keys));
            const std::string section = "section " + std::to_string(key / per_section), name = key_text(key);
            wanted.push_back({section, name, {section.begin(), section.end()}, {name.begin(), name.end()}});
        }
    }

    void load() {
        ours = std::make_unique<cl::cached_ini>(timer);
        ours->set_file(path, true);
    }
    // The next of a thousand keys, in an order without order.
    bool look_up() {
        const look& l = wanted[turn++ % wanted.size()];
        return ours->get_value(l.wide_section, l.wide_key, value);
    }
    bool look_up_theirs() {
        const look& l = wanted[turn++ % wanted.size()];
        return theirs->get(l.section.c_str(), l.key.c_str()) != nullptr;
    }
    bool change_and_flush() {
        ours->write_value(wanted[0].wide_section, wanted[0].wide_key, std::to_wstring(++turn), false);
        return ours->flush();
    }
    bool change_and_save_theirs() {
        theirs->set(wanted[0].section.c_str(), wanted[0].key.c_str(), std::to_string(++turn).c_str());
        return theirs->save(narrow_path);
    }
    [[nodiscard]] bool check() {
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const look& l = wanted[i];
            const char* const other = theirs->get(l.section.c_str(), l.key.c_str());
            if (!ours->get_value(l.wide_section, l.wide_key, value) || !other ||
                std::string(value.begin(), value.end()) != other)
                return false;
        }
        return change_and_flush() && change_and_save_theirs();
    }

    struct look {
        std::string section, key;
        std::wstring wide_section, wide_key;
    };

    cl::base_timer& timer;
    const std::wstring path;
    const std::string narrow_path;
    const int keys, per_section;
    std::vector<look> wanted;
    std::unique_ptr<cl::cached_ini> ours;
    std::unique_ptr<simple_ini> theirs;
    std::wstring value;
    unsigned turn = 0;
};

} // namespace

int main(int argc, char** argv) {
    const temp_folder folder;
    cl::passive_timer timer("bench");
    std::vector<std::unique_ptr<fixture>> fixtures;
    const auto make = [&](const std::string& name, int keys, int per_section) -> fixture& {
        const std::string file = name + ".ini";
        fixture& f = *fixtures.emplace_back(
            std::make_unique<fixture>(timer, folder / std::wstring(file.begin(), file.end()),
                                      (folder.folder / file).string(), keys, per_section));
        if (!f.check()) {
            std::fprintf(stderr, "wrong result: %s\n", name.c_str());
            std::exit(1);
        }
        return f;
    };
    std::vector<bench_case> cases;
    const struct {
        const char* name;
        int keys;
    } sizes[] = {{"100KB", 2'800}, {"1MB", 26'600}, {"10MB", 256'000}};
    for (const auto& size : sizes) {
        fixture& f = make(size.name, size.keys, 40);
        const std::string name = size.name;
        cases.push_back({"load/cached_ini/" + name, [&f] { f.ours.reset(); }, [&f] { f.load(); }});
        cases.push_back({"load/SimpleIni/" + name, [&f] { f.theirs.reset(); },
                         [&f] { f.theirs = load_simple_ini(f.narrow_path); }});
        cases.push_back({"flush/cached_ini/" + name, {}, [&f] { f.change_and_flush(); }});
        cases.push_back({"flush/SimpleIni/" + name, {}, [&f] { f.change_and_save_theirs(); }});
    }
    for (const int keys : {10, 1000, 100'000}) {
        for (const int per_section : {40, keys}) {
            if (keys < 40 && per_section == 40)
                continue;
            const std::string name = std::to_string(keys) + (per_section == keys ? "/one" : "/many");
            fixture& f = make(std::to_string(keys) + "_" + std::to_string(per_section), keys, per_section);
            cases.push_back({"lookup/cached_ini/" + name, {}, [&f] { f.look_up(); }});
            cases.push_back({"lookup/SimpleIni/" + name, {}, [&f] { f.look_up_theirs(); }});
        }
    }
    return run_bench(argc, argv, cases);
}
