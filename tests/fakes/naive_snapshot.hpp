// The straightforward snapshot decoder: a set of ids, a map of entries, strings assigned one by one. What
// apply_snapshot is compared with, in results and in cost.
#pragma once

#include "connview/snapshot.hpp"
#include "fakes/plain_entry.hpp"

#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace fakes {

class naive_snapshot {
public:
    std::map<std::uint64_t, plain_entry> entries;

    std::int64_t apply(std::string_view block, bool remove_closed, const vfl::connection_filter* filter) {
        if (block.size() < 64)
            return -1;
        if (load<u32>(block, 0) != 0xF3BCC908 || load<u32>(block, 4) != 1)
            return -2;
        const std::size_t records = load<u32>(block, 20);
        if (block.size() - 64 < records * 112)
            return -1;
        std::size_t at = 64 + records * 112;
        if (!read_pool(block, at, load<u32>(block, 24), narrow_) ||
            !read_pool(block, at, load<u32>(block, 28), wide_))
            return -1;

        const u64 clock = load<u64>(block, 56);
        if ((clock & 1) == 0) {
            std::set<u64> ids;
            for (std::size_t i = 0; i < records; ++i)
                ids.insert(load<u64>(block, 64 + i * 112 + 40));
            const auto missing = [&](const auto& item) { return !ids.contains(item.first); };
            if (remove_closed)
                std::erase_if(entries, missing);
            for (auto& item : entries)
                if (missing(item))
                    close(item.second);
        }
        for (std::size_t i = 0; i < records; ++i)
            apply_record(block, block.substr(64 + i * 112, 112), remove_closed, filter);
        return static_cast<std::int64_t>(at);
    }

private:
    using u8 = std::uint8_t;
    using u16 = std::uint16_t;
    using u32 = std::uint32_t;
    using u64 = std::uint64_t;

    template <class T>
    static T load(std::string_view bytes, std::size_t at) {
        T value;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    }

    using text_pool = std::vector<std::string_view>;

    // Padding isn't taken off what is left for the pool.
    static bool read_pool(std::string_view block, std::size_t& at, u32 count, text_pool& pool) {
        pool.clear();
        const auto size = static_cast<std::int64_t>(block.size());
        std::int64_t left = size - static_cast<std::int64_t>(at);
        for (; count > 0; --count) {
            if (left < 4 || at + 4 > block.size())
                return false;
            const std::size_t length = load<u32>(block, at);
            left -= 4 + static_cast<std::int64_t>(length);
            if (left < 0 || at + 4 + length > block.size())
                return false;
            pool.push_back(block.substr(at + 4, length));
            at += 4 + (length + 3) / 4 * 4;
        }
        return true;
    }

    static std::string_view text(const text_pool& pool, u64 index) {
        return index < pool.size() ? pool[index] : std::string_view();
    }

    static std::wstring wide_text(const text_pool& pool, u64 index) {
        const std::string_view bytes = text(pool, index);
        std::wstring units(bytes.size() / 2, L'\0');
        for (std::size_t i = 0; i < units.size(); ++i)
            units[i] = static_cast<wchar_t>(load<u16>(bytes, i * 2));
        return units;
    }

    static void close(plain_entry& e) {
        e.closed = true;
        e.tx_cps = e.rx_cps = 0;
        e.tx_percent = e.rx_percent = -1;
    }

    void apply_record(std::string_view block, std::string_view r, bool remove_closed,
                      const vfl::connection_filter* filter) {
        const u64 id = load<u64>(r, 40), protocol = load<u8>(r, 36);
        if (filter && ((filter->id != 0 && filter->id != id) ||
                       (filter->l7_protocol != 255 && filter->l7_protocol != protocol % 128) ||
                       (!filter->program.empty() && filter->program != wide_text(wide_, load<u32>(r, 92)))))
            return;
        const bool closed = load<u8>(r, 37) & 1;
        if (closed && remove_closed) {
            entries.erase(id);
            return;
        }
        auto it = entries.find(id);
        if (it == entries.end()) {
            if (closed)
                return;
            it = entries.emplace(id, plain_entry()).first;
            plain_entry& e = it->second;
            std::memcpy(e.remote_address.data(), r.data(), 16);
            std::memcpy(e.local_address.data(), r.data() + 16, 16);
            e.remote_port = load<u16>(r, 32);
            e.local_port = load<u16>(r, 34);
            e.is_tcp = protocol >= 128;
            e.id = id;
            const u64 age = (load<u64>(block, 32) - load<u64>(r, 80)) / 1000;
            e.started = static_cast<std::int64_t>((load<u64>(block, 56) >> 1) - age);
            for (auto* history : {&e.history_1, &e.history_2})
                history->resize(entries.begin()->second.history_1.size(), -1);
        }
        plain_entry& e = it->second;
        e.l7_protocol = protocol % 128;
        e.tx_bytes = load<u64>(r, 48);
        e.rx_bytes = load<u64>(r, 56);
        e.closed = closed;
        e.tx_line_rate = load<u64>(block, 40);
        e.rx_line_rate = load<u64>(block, 48);
        if (closed) {
            close(e);
        } else {
            const u32 scale = load<u32>(block, 16);
            e.tx_cps = scale ? (load<u64>(r, 64) << 20) / scale : 0;
            e.rx_cps = scale ? (load<u64>(r, 72) << 20) / scale : 0;
            e.tx_percent = static_cast<float>(e.tx_cps) * 100.0f / static_cast<float>(e.tx_line_rate);
            e.rx_percent = static_cast<float>(e.rx_cps) * 100.0f / static_cast<float>(e.rx_line_rate);
        }
        e.rtt = load<u32>(r, 88);
        e.header_word = load<u32>(block, 8);
        e.program = wide_text(wide_, load<u32>(r, 92));
        e.data = text(narrow_, load<u32>(r, 96));
        e.class_now = wide_text(wide_, load<u32>(r, 100));
        e.class_other = wide_text(wide_, load<u32>(r, 104));
        e.hostname = text(narrow_, load<u32>(r, 108));
    }

    text_pool narrow_, wide_;
};

} // namespace fakes
