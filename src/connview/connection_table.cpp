#include "connview/connection_table.hpp"

#include "cl/format/text.hpp"
#include "cl/format/value_text.hpp"
#include "connview/text_table.hpp"

#include <algorithm>
#include <bit>

namespace vfl {

namespace {

struct column {
    const char* header;
    std::uint8_t alignment;
};

constexpr column columns[] = {
    {"id", 'r'},      {"prot", 'd'},   {"local", 'd'},   {"remote", 'd'}, {"hostname", 'd'},
    {"l7-prot", 'r'}, {"rx vol", 'r'}, {"tx vol", 'r'},  {"rx cps", 'r'}, {"tx cps", 'r'},
    {"time", 'r'},    {"rtt", 'r'},    {"program", 'd'}, {"class", 'd'},  {"data", 'd'},
};

std::string endpoint_text(const std::array<std::uint8_t, 16>& address, std::uint16_t port) {
    return cl::text("%#?:%?", std::bit_cast<cl::ip6_addr>(address), port);
}

std::string number_text(std::uint64_t value) {
    return cl::text("%?", value);
}

std::string rtt_text(std::uint32_t rtt) {
    return cl::text("%#,.3?", rtt);
}

std::uint64_t age(const connection_entry& e, std::int64_t now) {
    return e.started < now ? static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(e.started) : 0;
}

std::wstring class_text(const connection_entry& e) {
    std::wstring text(e.class_now);
    if (e.class_now != e.class_other)
        text += L'*';
    return text;
}

void append_row(text_table& table, const connection_entry& e, std::int64_t now) {
    table.append_cell(number_text(e.id));
    table.append_cell(e.is_tcp ? "tcp" : "udp");
    table.append_cell(endpoint_text(e.local_address, e.local_port));
    table.append_cell(endpoint_text(e.remote_address, e.remote_port));
    table.append_cell(e.hostname);
    table.append_cell(number_text(e.l7_protocol));
    table.append_cell(number_text(e.rx_bytes));
    table.append_cell(number_text(e.tx_bytes));
    table.append_cell(number_text(e.rx_cps));
    table.append_cell(number_text(e.tx_cps));
    table.append_cell(cl::duration_text(age(e, now), cl::unit_seconds));
    table.append_cell(rtt_text(e.rtt));
    table.append_cell(std::wstring(e.program));
    table.append_cell(class_text(e));
    table.append_cell(e.data);
    table.end_row();
}

std::wstring escaped(const std::wstring& cell) {
    constexpr wchar_t digits[] = L"0123456789abcdef";
    std::wstring out;
    for (const wchar_t c : cell) {
        const bool control = c < 32 || (c >= 127 && c < 160);
        if (control)
            out.append(L"\\x").append(1, digits[c >> 4]);
        out += control ? digits[c & 15] : c;
    }
    return out;
}

} // namespace

std::wstring connection_table(const connection_map& map, std::int64_t now, controls how) {
    std::wstring text;
    if (map.empty())
        return text;
    text_table table;
    for (const column& c : columns) {
        table.append_cell(c.header);
        table.set_alignment(text_table::last_column, c.alignment);
    }
    table.end_row();
    for (const connection_entry& e : map)
        append_row(table, e, now);
    if (how == controls::escaped)
        for (auto& row : table.rows)
            for (std::wstring& cell : row)
                cell = escaped(cell);
    table.render(text);
    // The trace ends a text at its first zero: one in a cell would take the rest of the table away.
    std::replace(text.begin(), text.end(), L'\0', L' ');
    return text;
}

} // namespace vfl
