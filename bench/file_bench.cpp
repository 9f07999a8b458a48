// Lines of a 10 MB text file, read and written in each encoding, beside the standard streams and beside a
// plain transcoder that has the file in memory already.
#include "bench_case.hpp"
#include "cl/file/uni_file.hpp"
#include "temp_folder.hpp"

#include <codecvt>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <locale>

namespace {

constexpr std::size_t file_bytes = 10'000'000;
constexpr const char* names[] = {"ansi", "utf8", "utf16le", "utf16be", "utf32le", "utf32be"};

void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(1);
    }
}

// Settings-like lines of 5 to 104 characters, one in 16 with a few beyond ASCII.
std::vector<std::wstring> make_lines() {
    std::vector<std::wstring> lines;
    for (std::size_t total = 0; total < file_bytes; total += lines.back().size() + 2) {
        const std::size_t i = lines.size();
        std::wstring line = L"key" + std::to_wstring(i) + L"=";
        line.append(i * 37 % 97, static_cast<wchar_t>(L'a' + i % 26));
        if (i % 16 == 0)
            line += L"\u00E4\u00F6\u00FC";
        lines.push_back(line);
    }
    return lines;
}

std::size_t write_with_streams(const std::filesystem::path& path, const std::vector<std::string>& lines) {
    std::ofstream out(path, std::ios::binary);
    for (const std::string& line : lines)
        out << line << "\r\n";
    return lines.size();
}

// Counts lines and characters, so that the contestants' results can be compared.
struct tally {
    std::size_t lines = 0, chars = 0;
    bool operator==(const tally&) const = default;
};

tally read_narrow(const std::wstring& path, std::uint32_t) {
    tally t;
    cl::uni_file file;
    check(file.open(path, 0x8020, 32), "open");
    for (std::string line; file.read_line(line); ++t.lines)
        t.chars += line.size();
    return t;
}

tally read_wide(const std::wstring& path, std::uint32_t encoding) {
    tally t;
    cl::uni_file file;
    check(file.open(path, 0x8020, 32) && file.encoding == encoding, "open");
    for (std::wstring line; file.read_line(line); ++t.lines)
        t.chars += line.size();
    return t;
}

tally read_getline(const std::filesystem::path& path) {
    tally t;
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line); ++t.lines)
        t.chars += line.size() - 1; // the CR stays in it
    return t;
}

tally read_wifstream(const std::filesystem::path& path) {
    tally t;
    std::wifstream in(path, std::ios::binary);
    in.imbue(std::locale(in.getloc(), new std::codecvt_utf8<wchar_t, 0x10FFFF, std::consume_header>));
    for (std::wstring line; std::getline(in, line); ++t.lines)
        t.chars += line.size() - 1;
    return t;
}

// UTF-8 in memory, one code point after the other, as one would first write it.
tally transcode_utf8(const std::string& bytes) {
    tally t;
    std::wstring line;
    for (std::size_t i = 3; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i++]);
        std::uint32_t code = lead;
        for (int n = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3, k = n; k > 0; --k)
            code =
                (k == n ? lead & (0x3Fu >> n) : code) << 6 | (static_cast<unsigned char>(bytes[i++]) & 0x3F);
        if (code == '\n') {
            ++t.lines;
            t.chars += line.size();
            line.clear();
        } else if (code != '\r') {
            line += static_cast<wchar_t>(code);
        }
    }
    return t;
}

tally transcode_utf16(const std::string& bytes) {
    tally t;
    std::wstring line;
    for (std::size_t i = 2; i < bytes.size(); i += 2) {
        const auto unit = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                               static_cast<unsigned char>(bytes[i + 1]) << 8);
        if (unit == '\n') {
            ++t.lines;
            t.chars += line.size();
            line.clear();
        } else if (unit != '\r') {
            line += unit;
        }
    }
    return t;
}

std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

} // namespace

int main(int argc, char** argv) {
    const temp_folder folder;
    const std::vector<std::wstring> lines = make_lines();
    tally wanted{lines.size(), 0};
    for (const std::wstring& line : lines)
        wanted.chars += line.size();

    const auto write = [&](std::uint32_t encoding, const std::wstring& path) {
        cl::uni_file file;
        bool good = file.open_as(path, 0x8322, encoding, 32);
        for (const std::wstring& line : lines)
            good = file.write_line(line) && good;
        check(file.close() && good, "write");
    };
    std::vector<bench_case> cases;
    std::vector<std::string> narrow;
    std::string in_memory[6];
    for (std::uint32_t e = 0; e < 6; ++e) {
        const std::string name = names[e];
        const std::wstring wide_name(name.begin(), name.end());
        const std::wstring path = folder / wide_name;
        write(e, path);
        in_memory[e] = slurp(folder.folder / name);
        check(read_wide(path, e) == wanted, names[e]);
        cases.push_back({"read/" + name, {}, [=] { read_wide(path, e); }});
        cases.push_back({"write/" + name, {}, [=, &folder] { write(e, folder / (L"w" + wide_name)); }});
    }
    const std::wstring ansi = folder / L"ansi";
    const auto utf8 = folder.folder / "utf8";
    const auto copy = folder.folder / "copy";
    check(read_narrow(ansi, 0) == wanted && read_getline(folder.folder / "ansi") == wanted, "narrow");
    check(read_wifstream(utf8) == wanted, "wifstream");
    check(transcode_utf8(in_memory[1]) == wanted && transcode_utf16(in_memory[2]) == wanted, "transcoders");
    for (std::size_t start = 0, end; start < in_memory[0].size(); start = end + 2) {
        end = in_memory[0].find("\r\n", start);
        narrow.push_back(in_memory[0].substr(start, end - start));
    }
    write_with_streams(copy, narrow);
    check(slurp(copy) == in_memory[0], "ofstream");

    cases.push_back({"read/ansi_narrow", {}, [=] { read_narrow(ansi, 0); }});
    cases.push_back({"read/std_getline", {}, [&] { read_getline(folder.folder / "ansi"); }});
    cases.push_back({"read/std_wifstream_utf8", {}, [=] { read_wifstream(utf8); }});
    cases.push_back({"read/memory_utf8", {}, [&] { transcode_utf8(in_memory[1]); }});
    cases.push_back({"read/memory_utf16le", {}, [&] { transcode_utf16(in_memory[2]); }});
    cases.push_back({"write/std_ofstream", {}, [&] { write_with_streams(copy, narrow); }});
    return run_bench(argc, argv, cases);
}
