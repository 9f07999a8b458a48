// apply_snapshot beside a straightforward decoder (connview/naive_snapshot.hpp) and beside a plain copy of
// the block.
#include "allocations.hpp"
#include "bench_case.hpp"
#include "connview/naive_snapshot.hpp"
#include "snapshot_blocks.hpp"

#include <cstdio>
#include <memory>

namespace {

// What one size and order of connections needs. The maps of the first-time cases are made anew for each run,
// those of the update cases are kept and see two blocks in turn, which differ in all numbers that move and in
// no text.
struct fixture {
    fixture(std::uint32_t n, bool shuffled, bool own_texts)
        : blocks{make_block(n, shuffled, own_texts, 0), make_block(n, shuffled, own_texts, 1)},
          copy(blocks[0].size(), '\0') {}

    std::string blocks[2];
    std::string copy;
    unsigned turn = 0;
    std::unique_ptr<vfl::connection_map> fresh_map = std::make_unique<vfl::connection_map>();
    std::unique_ptr<fakes::naive_snapshot> fresh_naive = std::make_unique<fakes::naive_snapshot>();
    vfl::connection_map map;
    fakes::naive_snapshot naive;

    const std::string& next() { return blocks[++turn % 2]; }

    // Both decoders give the same entries, the first time and after updates, and an update takes no memory.
    [[nodiscard]] bool check() {
        for (int i = 0; i < 3; ++i) {
            const std::string& block = next();
            const std::size_t before = allocation_count();
            apply_snapshot(map, block, false, nullptr);
            if (i > 0 && allocation_count() != before)
                return false;
            naive.apply(block, false, nullptr);
            if (!naive.same_as(map))
                return false;
        }
        return true;
    }
};

} // namespace

int main(int argc, char** argv) {
    const struct {
        const char* name;
        std::uint32_t connections;
        bool shuffled, own_texts;
    } rows[] = {
        {"ascending/100", 100, false, false},      {"shuffled/100", 100, true, false},
        {"ascending/10000", 10'000, false, false}, {"shuffled/10000", 10'000, true, false},
        {"own_texts/10000", 10'000, true, true},   {"ascending/100000", 100'000, false, false},
        {"shuffled/100000", 100'000, true, false},
    };
    std::vector<std::unique_ptr<fixture>> fixtures;
    std::vector<bench_case> cases;
    for (const auto& row : rows) {
        fixture& f =
            *fixtures.emplace_back(std::make_unique<fixture>(row.connections, row.shuffled, row.own_texts));
        const std::string name = row.name;
        if (!f.check()) {
            std::fprintf(stderr, "wrong result: %s\n", row.name);
            return 1;
        }
        cases.push_back({"first/apply_snapshot/" + name,
                         [&f] { f.fresh_map = std::make_unique<vfl::connection_map>(); },
                         [&f] { apply_snapshot(*f.fresh_map, f.blocks[0], false, nullptr); }});
        cases.push_back({"first/straightforward/" + name,
                         [&f] { f.fresh_naive = std::make_unique<fakes::naive_snapshot>(); },
                         [&f] { f.fresh_naive->apply(f.blocks[0], false, nullptr); }});
        cases.push_back(
            {"update/apply_snapshot/" + name, {}, [&f] { apply_snapshot(f.map, f.next(), false, nullptr); }});
        cases.push_back(
            {"update/straightforward/" + name, {}, [&f] { f.naive.apply(f.next(), false, nullptr); }});
        cases.push_back(
            {"memcpy/" + name, {}, [&f] { std::memcpy(f.copy.data(), f.blocks[0].data(), f.copy.size()); }});
    }
    return run_bench(argc, argv, cases);
}
