#include "connview/snapshot.hpp"

#include "contracts/protocol.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace vfl {

namespace {

// The block's integers are copied out as they stand.
static_assert(std::endian::native == std::endian::little);

template <class T>
T load(const std::uint8_t* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

// The length in bytes of the pool's text at p.
std::uint32_t text_bytes(const std::uint8_t* p) {
    return load<std::uint32_t>(p);
}

std::uint16_t unit_at(const std::uint8_t* p, std::size_t i) {
    return load<std::uint16_t>(p + 4 + i * 2);
}

// Whether s is the narrow or wide text at p.
bool same(std::string_view s, const std::uint8_t* p) {
    return s.size() == text_bytes(p) && (s.empty() || std::memcmp(s.data(), p + 4, s.size()) == 0);
}

bool same(std::wstring_view s, const std::uint8_t* p) {
    if (s.size() != text_bytes(p) / 2)
        return false;
    // Without an early exit the loop runs on several units at once.
    std::uint32_t difference = 0;
    for (std::size_t i = 0; i < s.size(); ++i)
        difference |= static_cast<std::uint32_t>(s[i]) ^ unit_at(p, i);
    return difference == 0;
}

void copy_text(const std::uint8_t* p, shared_text<char>& to) {
    to = shared_text<char>({reinterpret_cast<const char*>(p + 4), text_bytes(p)});
}

void copy_text(const std::uint8_t* p, shared_text<wchar_t>& to) {
    const std::size_t n = text_bytes(p) / 2;
    to = shared_text<wchar_t>(n, [p, n](wchar_t* units) {
        for (std::size_t i = 0; i < n; ++i)
            units[i] = static_cast<wchar_t>(unit_at(p, i));
    });
}

void clear_rates(connection_entry& e) {
    e.tx_cps = e.rx_cps = 0;
    e.tx_percent = e.rx_percent = -1.0f;
}

// A multiplication that loses the rate's top 20 bits, as every reader of the block does.
std::uint64_t scaled(std::uint64_t rate, std::uint32_t scale) {
    return scale ? (rate << 20) / scale : 0;
}

bool is_snapshot(const vfl_snapshot_header& header) {
    return header.magic == VFL_SNAPSHOT_MAGIC && header.version == VFL_SNAPSHOT_VERSION;
}

} // namespace

class snapshot_reader {
public:
    snapshot_reader(connection_map& map, std::string_view block)
        : map_(map), bytes_(reinterpret_cast<const std::uint8_t*>(block.data())),
          size_(static_cast<std::int64_t>(block.size())) {}

    // Checks the block and finds its texts: the size of its parts, or the negative result of apply_snapshot.
    std::int64_t parse() {
        constexpr auto header_size = static_cast<std::int64_t>(sizeof header_);
        if (size_ < header_size)
            return -1;
        header_ = load<vfl_snapshot_header>(bytes_);
        if (!is_snapshot(header_))
            return -2;
        const std::int64_t records_size =
            static_cast<std::int64_t>(header_.record_count) * std::int64_t{sizeof(vfl_connection_record)};
        if (size_ - header_size < records_size)
            return -1;
        const std::int64_t wide_start =
            walk(header_size + records_size, header_.narrow_count, map_.narrow_pool_);
        return wide_start < 0 ? -1 : walk(wide_start, header_.wide_count, map_.wide_pool_);
    }

    // Marks or erases the entries that the block doesn't name.
    void reconcile(bool remove_closed) {
        const std::uint32_t mark = ++map_.blocks_;
        std::size_t named = 0;
        for (std::uint32_t i = 0; i < header_.record_count; ++i) {
            const auto id = load<std::uint64_t>(record_at(i) + offsetof(vfl_connection_record, id));
            if (connection_map::slot* s = map_.search(id); s && s->seen != mark) {
                s->seen = mark;
                ++named;
            }
        }
        if (named == map_.size())
            return;
        for (const connection_map::link& l : map_.order_) {
            if (l.at->seen == mark)
                continue;
            if (remove_closed) {
                map_.erase(*l.at);
            } else {
                l.at->entry.closed = true;
                clear_rates(l.at->entry);
            }
        }
    }

    void apply_records(bool remove_closed, const connection_filter* filter) {
        for (std::uint32_t i = 0; i < header_.record_count; ++i) {
            const auto record = load<vfl_connection_record>(record_at(i));
            if (filter && !passes(*filter, record))
                continue;
            const bool is_closed = (record.state & VFL_STATE_CLOSED) != 0;
            connection_map::slot* s = map_.search(record.id);
            if (is_closed && remove_closed) {
                if (s)
                    map_.erase(*s);
                continue;
            }
            if (!s) {
                // It ended before it was seen, and never shows up.
                if (is_closed)
                    continue;
                s = &create(record);
            }
            update_entry(s->entry, record, is_closed);
        }
    }

    snapshot_reader(const snapshot_reader&) = delete;
    snapshot_reader& operator=(const snapshot_reader&) = delete;
    ~snapshot_reader() {
        map_.settle();
        release(map_.narrow_pool_);
        release(map_.wide_pool_);
    }

    [[nodiscard]] bool is_partial() const { return (header_.clock_and_flags & VFL_SNAPSHOT_PARTIAL) != 0; }

private:
    // Walks the `count` texts of the pool that starts at `at`. Returns the end of the pool with the padding
    // of its last text, which may be missing from the block, or -1 when a text doesn't lie in the block.
    template <class Ch>
    std::int64_t walk(std::int64_t at, std::int64_t count,
                      std::vector<connection_map::pool_text<Ch>>& pool) const {
        pool.clear();
        // Refuses counts that can't fit before memory is taken for them.
        if (count > 0 && (size_ - at) / 4 < count)
            return -1;
        pool.reserve(static_cast<std::size_t>(count));
        for (; count > 0; --count) {
            if (size_ - at < 4)
                return -1;
            const std::int64_t length = text_bytes(bytes_ + at);
            if (size_ - at - 4 < length)
                return -1;
            pool.push_back({bytes_ + at, {}});
            at += 4 + (length + 3) / 4 * 4;
        }
        return at;
    }

    [[nodiscard]] const std::uint8_t* record_at(std::uint32_t i) const {
        return bytes_ + sizeof(vfl_snapshot_header) + std::size_t{i} * sizeof(vfl_connection_record);
    }

    [[nodiscard]] bool passes(const connection_filter& filter, const vfl_connection_record& record) const {
        const auto l7 = static_cast<std::uint8_t>(record.protocol & ~VFL_PROTOCOL_TCP);
        return (filter.id == 0 || filter.id == record.id) &&
               (filter.l7_protocol == 255 || filter.l7_protocol == l7) &&
               (filter.program.empty() || (record.program < map_.wide_pool_.size() &&
                                           same(filter.program, map_.wide_pool_[record.program].at)));
    }

    connection_map::slot& create(const vfl_connection_record& record) {
        connection_map::slot& s = map_.create(record.id);
        connection_entry& e = s.entry;
        std::copy_n(record.remote_address, e.remote_address.size(), e.remote_address.begin());
        std::copy_n(record.local_address, e.local_address.size(), e.local_address.begin());
        e.remote_port = record.remote_port;
        e.local_port = record.local_port;
        e.is_tcp = (record.protocol & VFL_PROTOCOL_TCP) != 0;
        e.started = static_cast<std::int64_t>((header_.clock_and_flags >> 1) -
                                              (header_.driver_time - record.start_time) / 1000);
        if (const std::size_t length = map_.first()->entry.history_1.size(); length > 0) {
            e.history_1.resize(length, -1.0f);
            e.history_2.resize(length, -1.0f);
        }
        return s;
    }

    void update_entry(connection_entry& e, const vfl_connection_record& record, bool is_closed) {
        e.l7_protocol = static_cast<std::uint8_t>(record.protocol & ~VFL_PROTOCOL_TCP);
        e.tx_bytes = record.tx_bytes;
        e.rx_bytes = record.rx_bytes;
        e.closed = is_closed;
        if (is_closed) {
            clear_rates(e);
        } else {
            e.rx_cps = scaled(record.rx_rate, header_.rate_scale);
            e.tx_cps = scaled(record.tx_rate, header_.rate_scale);
            // A line rate of 0 gives infinity, or NaN for 0 / 0.
            e.rx_percent = static_cast<float>(e.rx_cps) * 100.0f / static_cast<float>(header_.rx_line_rate);
            e.tx_percent = static_cast<float>(e.tx_cps) * 100.0f / static_cast<float>(header_.tx_line_rate);
        }
        e.rx_line_rate = header_.rx_line_rate;
        e.tx_line_rate = header_.tx_line_rate;
        e.rtt = record.rtt;
        e.header_word = header_.header_word;
        update(e.program, map_.wide_pool_, record.program);
        update(e.data, map_.narrow_pool_, record.data);
        update(e.class_now, map_.wide_pool_, record.class_now);
        update(e.class_other, map_.wide_pool_, record.class_other);
        update(e.hostname, map_.narrow_pool_, record.hostname);
    }

    // The block goes away; the memory stays, unless a block of a size that no driver sends has swollen it.
    template <class Ch>
    static void release(std::vector<connection_map::pool_text<Ch>>& pool) {
        constexpr std::size_t kept_texts = 1'000'000;
        pool.clear();
        if (pool.capacity() > kept_texts)
            pool.shrink_to_fit();
    }

    // Gives the entry the pool's text. Texts seldom change, and many entries have the same ones: the first
    // entry that has or needs a text lends or makes the copy that all others share, so that most cost one
    // comparison of addresses.
    template <class Ch>
    static void update(shared_text<Ch>& text, std::vector<connection_map::pool_text<Ch>>& pool,
                       std::uint32_t index) {
        if (index >= pool.size()) {
            text = {};
            return;
        }
        auto& [at, copy] = pool[index];
        if (copy.shares(text))
            return;
        if (copy.empty()) {
            if (same(text, at)) {
                copy = text;
                return;
            }
            copy_text(at, copy);
        }
        text = copy;
    }

    connection_map& map_;
    const std::uint8_t* bytes_;
    std::int64_t size_;
    vfl_snapshot_header header_{};
};

std::int64_t apply_snapshot(connection_map& map, std::string_view block, bool remove_closed,
                            const connection_filter* filter) {
    snapshot_reader reader(map, block);
    const std::int64_t size = reader.parse();
    if (size < 0)
        return size;
    if (!reader.is_partial())
        reader.reconcile(remove_closed);
    reader.apply_records(remove_closed, filter);
    return size;
}

bool put_snapshot_time(std::string& block, std::int64_t now) {
    if (block.size() < sizeof(vfl_snapshot_header))
        return false;
    vfl_snapshot_header header;
    std::memcpy(&header, block.data(), sizeof header);
    if (!is_snapshot(header))
        return false;
    header.clock_and_flags =
        (header.clock_and_flags & VFL_SNAPSHOT_PARTIAL) | (static_cast<std::uint64_t>(now) << 1);
    std::memcpy(block.data(), &header, sizeof header);
    return true;
}

} // namespace vfl
