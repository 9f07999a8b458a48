// One connection, as the driver's blocks describe it.
#pragma once

#include "connview/shared_text.hpp"

#include <array>
#include <cstdint>
#include <vector>

namespace vfl {

// Addresses, ports, is_tcp, id, started and the histories are set when the entry is made. The other fields
// follow every block that names the connection; `closed`, the rates and the percentages also change with a
// complete block that doesn't name it.
//
// A copy shares its texts with the original, and their users are counted without a lock: a copy for another
// thread needs texts of its own (copy the characters).
struct connection_entry {
    std::array<std::uint8_t, 16> remote_address{}; // IPv6, network order; IPv4 as mapped address
    std::array<std::uint8_t, 16> local_address{};  // the same
    std::uint16_t remote_port = 0;
    std::uint16_t local_port = 0;
    std::uint8_t l7_protocol = 0; // 0 to 127, the driver's own numbers
    bool closed = false;
    bool is_tcp = false; // else UDP
    std::uint64_t id = 0;
    std::uint64_t tx_bytes = 0; // volumes
    std::uint64_t rx_bytes = 0;
    std::uint64_t tx_cps = 0; // rates; 0 when closed
    std::uint64_t rx_cps = 0;
    float rx_percent = 0; // rate in percent of the line rate, infinite or NaN when that is 0; -1 when closed
    float tx_percent = 0;
    std::int64_t started = 0; // seconds since 1970
    std::uint64_t rx_line_rate = 0;
    std::uint64_t tx_line_rate = 0;
    std::uint32_t rtt = 0;            // thousandths of the unit that is shown
    std::uint32_t header_word = 0;    // of the last block that named the connection
    shared_text<wchar_t> program;     // that owns the connection
    shared_text<char> data;           // free text; bytes of the ANSI code page
    shared_text<wchar_t> class_now;   // traffic class
    shared_text<wchar_t> class_other; // a second class text
    shared_text<char> hostname;       // of the remote host; bytes of the ANSI code page
    std::vector<float> history_1;     // padded with -1 to the length that the first entry's history_1 has
    std::vector<float> history_2;

    bool operator==(const connection_entry&) const = default;
};

} // namespace vfl
