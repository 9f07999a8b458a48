// The blocks that the snapshot benchmark reads.
#pragma once

#include "connview/snapshot_builder.hpp"

#include <algorithm>
#include <random>
#include <string>

// A complete block of n connections as a driver would send it: every text stands once in its pool, programs
// and classes are shared by many connections, host names and data by few. `moment` moves volumes and rates
// and leaves the texts as they are. With `own_texts` no two records share a pool entry, as if the driver
// never looked for a text that it has already.
inline std::string make_block(std::uint32_t n, bool shuffled, bool own_texts, std::uint32_t moment) {
    fakes::snapshot_builder b;
    std::vector<std::uint32_t> programs, classes, hosts, data;
    for (const wchar_t* name : {L"chrome.exe", L"svchost.exe", L"System", L"firefox.exe", L"OneDrive.exe",
                                L"steamwebhelper.exe", L"Teams.exe", L"backup agent.exe"})
        programs.push_back(b.wide(name));
    for (const wchar_t* name : {L"interactive", L"bulk transfer", L"voice", L"default", L"low priority"})
        classes.push_back(b.wide(name));
    hosts.push_back(b.narrow(""));
    for (std::uint32_t i = 0; i <= n / 3; ++i)
        hosts.push_back(b.narrow("edge-" + std::to_string(i * 7919 % 100003) + ".cdn.example.net"));
    for (std::uint32_t i = 0; i <= n / 10; ++i)
        data.push_back(b.narrow("session " + std::to_string(i * 104729 % 1000003)));

    std::vector<std::uint64_t> ids(n);
    for (std::uint32_t i = 0; i < n; ++i)
        ids[i] = 1000 + std::uint64_t{i} * 3;
    if (shuffled)
        std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
    for (const std::uint64_t id : ids) {
        const auto i = static_cast<std::uint32_t>((id - 1000) / 3);
        vfl_connection_record& r = b.add(id);
        r.protocol = static_cast<std::uint8_t>(i % 3 ? 0x80 | i % 20 : 17);
        r.local_port = static_cast<std::uint16_t>(49152 + i % 16000);
        r.remote_port = 443;
        r.local_address[15] = r.remote_address[15] = static_cast<std::uint8_t>(i);
        r.rx_bytes = 1500ull * i + moment * 100;
        r.tx_bytes = 400ull * i + moment * 10;
        r.rx_rate = i * 131 % 10007 + moment;
        r.tx_rate = i * 31 % 5003 + moment;
        r.rtt = i % 300 + moment;
        if (own_texts) {
            r.program = b.wide(L"program " + std::to_wstring(i) + L".exe");
            r.class_now = b.wide(L"interactive");
            r.class_other = b.wide(i % 4 ? L"interactive" : L"bulk transfer");
            r.hostname = b.narrow("edge-" + std::to_string(i) + ".cdn.example.net");
            r.data = b.narrow("session " + std::to_string(i));
            continue;
        }
        r.program = programs[i % programs.size()];
        r.class_now = classes[i % classes.size()];
        r.class_other = classes[(i % 4 ? i : i + 1) % classes.size()];
        r.hostname = i % 5 ? hosts[i % hosts.size()] : hosts[0];
        r.data = data[i % data.size()];
    }
    return b.build();
}
