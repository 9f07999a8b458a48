// text_table::render beside std::ostringstream with setw and {fmt}, one call for each cell.
#include "bench_case.hpp"
#include "connview/text_table.hpp"
#include "table_contestants.hpp"

#include <cstdio>
#include <memory>

namespace {

constexpr std::size_t column_count = 15;

// Rows like those of the connection listing: numbers to the right, texts to the left, no empty cell, because
// the contestants fill each cell with blanks and text_table owes them.
struct fixture {
    explicit fixture(std::size_t row_count) : right(column_count) {
        static constexpr std::size_t lengths[column_count] = {6, 3, 20, 24, 22, 2,  9, 8,
                                                              6, 5, 7,  5,  12, 11, 14};
        for (std::size_t i = 0; i < column_count; ++i) {
            right[i] = i == 0 || (i >= 5 && i <= 11);
            table.set_alignment(i, right[i] ? 'r' : 'l');
        }
        for (std::size_t r = 0; r < row_count; ++r) {
            for (std::size_t i = 0; i < column_count; ++i)
                table.append_cell(std::wstring(1 + (lengths[i] + r * 7 + i * 3) % lengths[i],
                                               static_cast<wchar_t>(L'a' + i)));
            table.end_row();
        }
    }

    vfl::text_table table;
    std::vector<bool> right;
    std::wstring out;
};

} // namespace

int main(int argc, char** argv) {
    std::vector<std::unique_ptr<fixture>> fixtures;
    std::vector<bench_case> cases;
    for (const std::size_t rows : {10u, 100u, 1'000u, 10'000u}) {
        fixture& f = *fixtures.emplace_back(std::make_unique<fixture>(rows));
        std::wstring text;
        f.table.render(text);
        if (text != render_with_ostringstream(f.table.rows, f.right) ||
            text != render_with_fmt(f.table.rows, f.right)) {
            std::fprintf(stderr, "wrong result: %zu rows\n", rows);
            return 1;
        }
        const std::string tail = std::string("/").append(std::to_string(rows));
        // Into a new string each time, as the listing does.
        cases.push_back({"render/text_table" + tail, {}, [&f] { f.table.render(f.out = std::wstring()); }});
        cases.push_back({"render/ostringstream" + tail, {}, [&f] {
                             f.out = render_with_ostringstream(f.table.rows, f.right);
                         }});
        cases.push_back({"render/fmt" + tail, {}, [&f] { f.out = render_with_fmt(f.table.rows, f.right); }});
    }
    return run_bench(argc, argv, cases);
}
