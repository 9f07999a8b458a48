// The straightforward snapshot decoder: a set of ids, a map of entries, strings assigned one by one. What
// apply_snapshot is compared with, in results and in cost.
#pragma once

#include "connview/snapshot.hpp"
#include "contracts/protocol.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>

namespace fakes {

class naive_snapshot {
public:
    std::map<std::uint64_t, vfl::connection_entry> entries;

    std::int64_t apply(std::string_view block, bool remove_closed, const vfl::connection_filter* filter) {
        if (block.size() < 64)
            return -1;
        h_ = load<vfl_snapshot_header>(block, 0);
        if (h_.magic != 0xF3BCC908 || h_.version != 1)
            return -2;
        std::size_t at = 64 + std::size_t{h_.record_count} * 112;
        if (block.size() < at || !read_pool(block, at, h_.narrow_count, narrow_) ||
            !read_pool(block, at, h_.wide_count, wide_))
            return -1;
        std::vector<vfl_connection_record> records;
        std::set<std::uint64_t> ids;
        for (std::size_t i = 0; i < h_.record_count; ++i)
            ids.insert(records.emplace_back(load<vfl_connection_record>(block, 64 + i * 112)).id);
        const auto missing = [&](const auto& item) {
            return (h_.clock_and_flags & 1) == 0 && !ids.contains(item.first);
        };
        if (remove_closed)
            std::erase_if(entries, missing);
        for (auto& item : entries)
            if (missing(item))
                close(item.second);
        for (const vfl_connection_record& r : records)
            apply_record(r, remove_closed, filter);
        return static_cast<std::int64_t>(at);
    }

    // Whether the map holds the same entries in the same order, and finds each of them.
    [[nodiscard]] bool same_as(const vfl::connection_map& map) const {
        const auto plain = [](vfl::connection_entry e) { // NaN equals nothing
            for (float* percent : {&e.rx_percent, &e.tx_percent})
                *percent = std::isnan(*percent) ? -2 : *percent;
            return e;
        };
        return map.size() == entries.size() && std::equal(map.begin(), map.end(), entries.begin(),
                                                          entries.end(), [&](const auto& a, const auto& b) {
                                                              return plain(a) == plain(b.second) &&
                                                                     map.find(b.first) == &a;
                                                          });
    }

private:
    using text_pool = std::vector<std::string_view>;

    template <class T>
    static T load(std::string_view bytes, std::size_t at) {
        T value;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    }

    // The last padding may be missing.
    static bool read_pool(std::string_view block, std::size_t& at, std::uint32_t count, text_pool& pool) {
        for (pool.clear(); count > 0; --count) {
            const std::size_t length = at + 4 > block.size() ? 0 : load<std::uint32_t>(block, at);
            if (at + 4 + length > block.size())
                return false;
            pool.push_back(block.substr(at + 4, length));
            at += 4 + (length + 3) / 4 * 4;
        }
        return true;
    }

    [[nodiscard]] vfl::shared_text<char> narrow(std::uint32_t index) const {
        return vfl::shared_text<char>(index < narrow_.size() ? narrow_[index] : "");
    }
    [[nodiscard]] vfl::shared_text<wchar_t> wide(std::uint32_t index) const {
        const std::string_view bytes = index < wide_.size() ? wide_[index] : "";
        std::wstring units(bytes.size() / 2, L'\0');
        for (std::size_t i = 0; i < units.size(); ++i)
            units[i] = static_cast<wchar_t>(load<std::uint16_t>(bytes, i * 2));
        return vfl::shared_text<wchar_t>(units);
    }

    static void close(vfl::connection_entry& e) {
        e.closed = true;
        e.tx_cps = e.rx_cps = 0;
        e.tx_percent = e.rx_percent = -1;
    }

    void apply_record(const vfl_connection_record& r, bool remove_closed,
                      const vfl::connection_filter* filter) {
        if (filter && ((filter->id != 0 && filter->id != r.id) ||
                       (filter->l7_protocol != 255 && filter->l7_protocol != r.protocol % 128) ||
                       (!filter->program.empty() && !(wide(r.program) == filter->program))))
            return;
        const bool closed = r.state & 1;
        if (closed && remove_closed)
            entries.erase(r.id);
        if (closed && !entries.contains(r.id))
            return;
        const auto [it, is_new] = entries.try_emplace(r.id);
        vfl::connection_entry& e = it->second;
        if (is_new) {
            std::memcpy(e.remote_address.data(), r.remote_address, 16);
            std::memcpy(e.local_address.data(), r.local_address, 16);
            e.remote_port = r.remote_port;
            e.local_port = r.local_port;
            e.is_tcp = r.protocol >= 128;
            e.id = r.id;
            e.started =
                static_cast<std::int64_t>((h_.clock_and_flags >> 1) - (h_.driver_time - r.start_time) / 1000);
            for (auto* history : {&e.history_1, &e.history_2})
                history->resize(entries.begin()->second.history_1.size(), -1);
        }
        e.l7_protocol = r.protocol % 128;
        e.tx_bytes = r.tx_bytes;
        e.rx_bytes = r.rx_bytes;
        e.tx_line_rate = h_.tx_line_rate;
        e.rx_line_rate = h_.rx_line_rate;
        e.tx_cps = h_.rate_scale ? (r.tx_rate << 20) / h_.rate_scale : 0;
        e.rx_cps = h_.rate_scale ? (r.rx_rate << 20) / h_.rate_scale : 0;
        e.tx_percent = static_cast<float>(e.tx_cps) * 100.0f / static_cast<float>(e.tx_line_rate);
        e.rx_percent = static_cast<float>(e.rx_cps) * 100.0f / static_cast<float>(e.rx_line_rate);
        e.closed = false;
        if (closed)
            close(e);
        e.rtt = r.rtt;
        e.header_word = h_.header_word;
        e.program = wide(r.program);
        e.data = narrow(r.data);
        e.class_now = wide(r.class_now);
        e.class_other = wide(r.class_other);
        e.hostname = narrow(r.hostname);
    }

    vfl_snapshot_header h_{};
    text_pool narrow_, wide_;
};

} // namespace fakes
