// snapshot_table FILE: prints the connections of captured snapshots, as `vfl -bincons` does. FILE holds raw
// blocks, or is a text with dumps of `vfl -bincons -hex` in it; "-" is standard input. Several blocks are
// folded one into the other, each with its table. The output is UTF-8, with control characters escaped; what
// was found and what was lost is counted on standard error. Exit code: 0, 1 when something is lost, 2 when
// there is no block.
#include "cl/text/text_convert.hpp"
#include "connview/captured_blocks.hpp"
#include "connview/connection_table.hpp"
#include "connview/snapshot.hpp"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace {

std::string content(std::istream& stream) {
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

int print_tables(vfl::captured_snapshots found) {
    // The table shows ages: any time will do that is the same for both.
    const std::int64_t now = std::time(nullptr);
    vfl::connection_map map;
    const std::size_t count = found.blocks.size();
    std::size_t tables = 0, refused = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::string& block = found.blocks[i];
        vfl::put_snapshot_time(block, now);
        const std::int64_t size = vfl::apply_snapshot(map, block, false, nullptr);
        if (size < 0) {
            std::fprintf(stderr, "block %zu of %zu is %s; it has %zu bytes\n", i + 1, count,
                         size == -2 ? "of an unknown version" : "shorter than it says", block.size());
            ++refused;
            continue;
        }
        if (map.empty())
            std::cout << "no connections\n";
        tables += !map.empty();
        std::cout << cl::utf16_to_utf8(vfl::connection_table(map, now, vfl::controls::escaped));
    }
    std::cout.flush();
    std::fprintf(stderr, "blocks: %zu, tables: %zu, refused: %zu, dump lines of no block: %zu\n", count,
                 tables, refused, found.lost_lines);
    return refused > 0 || found.lost_lines > 0 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: snapshot_table FILE\n", stderr);
        return 2;
    }
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    std::string file;
    if (std::string_view(argv[1]) == "-") {
        file = content(std::cin);
    } else {
        std::ifstream stream(argv[1], std::ios::binary);
        if (!stream) {
            std::fprintf(stderr, "can't open %s\n", argv[1]);
            return 2;
        }
        file = content(stream);
    }
    vfl::captured_snapshots found = vfl::captured_blocks(file);
    if (found.blocks.empty()) {
        std::fprintf(stderr, "no snapshot in %s: neither a raw block nor a dump of vfl -bincons -hex\n",
                     argv[1]);
        return 2;
    }
    return print_tables(std::move(found));
}
