// An entry of the straightforward decoder, and its comparison with the product's.
#pragma once

#include "connview/connection_map.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

// The fields of vfl::connection_entry, with strings of its own.
struct plain_entry {
    std::array<std::uint8_t, 16> remote_address{}, local_address{};
    std::uint16_t remote_port = 0, local_port = 0;
    std::uint8_t l7_protocol = 0;
    bool closed = false, is_tcp = false;
    std::uint64_t id = 0, tx_bytes = 0, rx_bytes = 0, tx_cps = 0, rx_cps = 0;
    float rx_percent = 0, tx_percent = 0;
    std::int64_t started = 0;
    std::uint64_t rx_line_rate = 0, tx_line_rate = 0;
    std::uint32_t rtt = 0, header_word = 0;
    std::wstring program;
    std::string data;
    std::wstring class_now, class_other;
    std::string hostname;
    std::vector<float> history_1, history_2;
};

inline bool same_float(float a, float b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

inline bool same_entry(const vfl::connection_entry& a, const plain_entry& b) {
    return a.remote_address == b.remote_address && a.local_address == b.local_address &&
           a.remote_port == b.remote_port && a.local_port == b.local_port && a.l7_protocol == b.l7_protocol &&
           a.closed == b.closed && a.is_tcp == b.is_tcp && a.id == b.id && a.tx_bytes == b.tx_bytes &&
           a.rx_bytes == b.rx_bytes && a.tx_cps == b.tx_cps && a.rx_cps == b.rx_cps &&
           same_float(a.rx_percent, b.rx_percent) && same_float(a.tx_percent, b.tx_percent) &&
           a.started == b.started && a.rx_line_rate == b.rx_line_rate && a.tx_line_rate == b.tx_line_rate &&
           a.rtt == b.rtt && a.header_word == b.header_word && a.program == b.program && a.data == b.data &&
           a.class_now == b.class_now && a.class_other == b.class_other && a.hostname == b.hostname &&
           a.history_1 == b.history_1 && a.history_2 == b.history_2;
}

} // namespace fakes
