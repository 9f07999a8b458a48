#include "connview/snapshot.hpp"

#include "connview/map_editor.hpp"
#include "connview/snapshot_block.hpp"

#include <algorithm>
#include <cstring>

namespace vfl {

namespace {

bool same(std::string_view s, block_text text) {
    return s == text.narrow();
}

bool same(std::wstring_view s, block_text text) {
    if (s.size() != text.units())
        return false;
    // Without an early exit the loop runs on several units at once.
    std::uint32_t difference = 0;
    for (std::size_t i = 0; i < s.size(); ++i)
        difference |= static_cast<std::uint32_t>(s[i]) ^ text.unit(i);
    return difference == 0;
}

void copy_text(block_text text, shared_text<char>& to) {
    to = shared_text<char>(text.narrow());
}

void copy_text(block_text text, shared_text<wchar_t>& to) {
    const std::size_t n = text.units();
    to = shared_text<wchar_t>(n, [text, n](wchar_t* units) {
        for (std::size_t i = 0; i < n; ++i)
            units[i] = static_cast<wchar_t>(text.unit(i));
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

// Folds one block into a map. Owns the map's fold memory for that time.
class snapshot_fold {
    using slot = connection_map::editor::slot;
    using record = vfl_connection_record;

public:
    snapshot_fold(connection_map& map, const snapshot_block& block)
        : block_(block), header_(block.header()), edit_(map), narrow_(edit_.memory().narrow),
          wide_(edit_.memory().wide) {}
    snapshot_fold(const snapshot_fold&) = delete;
    snapshot_fold& operator=(const snapshot_fold&) = delete;
    ~snapshot_fold() {
        narrow_.clear();
        wide_.clear();
    }

    // The size of the block's parts, or a negative fault.
    std::int64_t read_texts() {
        const std::int64_t wide =
            narrow_.read(block_, block_.pools(), header_.narrow_count, {&record::data, &record::hostname});
        return wide < 0 ? wide
                        : wide_.read(block_, wide, header_.wide_count,
                                     {&record::program, &record::class_now, &record::class_other});
    }

    // Marks or erases the entries that the block doesn't name.
    void reconcile(bool remove_closed) {
        const std::uint32_t mark = ++edit_.memory().complete_blocks;
        std::size_t named = 0;
        std::size_t unknown = 0;
        for (std::uint32_t i = 0; i < header_.record_count; ++i) {
            slot* const s = edit_.find(block_.id(i));
            if (!s) {
                ++unknown;
            } else if (s->seen != mark) {
                s->seen = mark;
                ++named;
            }
        }
        edit_.rewind();
        if (unknown > 0)
            edit_.expect(unknown);
        if (named == edit_.size())
            return;
        edit_.each([&](slot& s) {
            if (s.seen == mark)
                return;
            if (remove_closed) {
                edit_.erase(s);
            } else {
                s.entry.closed = true;
                clear_rates(s.entry);
            }
        });
    }

    void apply_records(bool remove_closed, const connection_filter* filter) {
        const bool sparse = narrow_.sparse() || wide_.sparse();
        for (std::uint32_t i = 0; i < header_.record_count; ++i) {
            record r = block_.record(i);
            if (sparse)
                place_texts(r);
            if (filter && !passes(*filter, r))
                continue;
            const bool is_closed = (r.state & VFL_STATE_CLOSED) != 0;
            slot* s = edit_.find(r.id);
            if (is_closed && remove_closed) {
                if (s)
                    edit_.erase(*s);
                continue;
            }
            if (!s) {
                // It ended before it was seen, and never shows up.
                if (is_closed)
                    continue;
                s = &create(r);
            }
            update_entry(s->entry, r, is_closed);
        }
    }

private:
    void place_texts(record& r) const {
        for (const auto field : {&record::data, &record::hostname})
            r.*field = narrow_.place(r.*field);
        for (const auto field : {&record::program, &record::class_now, &record::class_other})
            r.*field = wide_.place(r.*field);
    }

    [[nodiscard]] bool passes(const connection_filter& filter, const record& r) const {
        const auto l7 = static_cast<std::uint8_t>(r.protocol & ~VFL_PROTOCOL_TCP);
        const auto* const program = filter.program.empty() ? nullptr : wide_.at(r.program);
        return (filter.id == 0 || filter.id == r.id) &&
               (filter.l7_protocol == 255 || filter.l7_protocol == l7) &&
               (filter.program.empty() || (program && same(filter.program, program->text)));
    }

    slot& create(const record& r) {
        slot& s = edit_.create(r.id);
        connection_entry& e = s.entry;
        std::copy_n(r.remote_address, e.remote_address.size(), e.remote_address.begin());
        std::copy_n(r.local_address, e.local_address.size(), e.local_address.begin());
        e.remote_port = r.remote_port;
        e.local_port = r.local_port;
        e.is_tcp = (r.protocol & VFL_PROTOCOL_TCP) != 0;
        e.started = static_cast<std::int64_t>((header_.clock_and_flags >> 1) -
                                              (header_.driver_time - r.start_time) / 1000);
        return s;
    }

    void update_entry(connection_entry& e, const record& r, bool is_closed) {
        e.l7_protocol = static_cast<std::uint8_t>(r.protocol & ~VFL_PROTOCOL_TCP);
        e.tx_bytes = r.tx_bytes;
        e.rx_bytes = r.rx_bytes;
        e.closed = is_closed;
        if (is_closed) {
            clear_rates(e);
        } else {
            e.rx_cps = scaled(r.rx_rate, header_.rate_scale);
            e.tx_cps = scaled(r.tx_rate, header_.rate_scale);
            // A line rate of 0 gives infinity, or NaN for 0 / 0.
            e.rx_percent = static_cast<float>(e.rx_cps) * 100.0f / static_cast<float>(header_.rx_line_rate);
            e.tx_percent = static_cast<float>(e.tx_cps) * 100.0f / static_cast<float>(header_.tx_line_rate);
        }
        e.rx_line_rate = header_.rx_line_rate;
        e.tx_line_rate = header_.tx_line_rate;
        e.rtt = r.rtt;
        e.header_word = header_.header_word;
        update(e.program, wide_, r.program);
        update(e.data, narrow_, r.data);
        update(e.class_now, wide_, r.class_now);
        update(e.class_other, wide_, r.class_other);
        update(e.hostname, narrow_, r.hostname);
    }

    // Gives the entry the pool's text. Texts seldom change, and many entries have the same ones: the first
    // entry that has or needs a text lends or makes the copy that all others share, so that most cost one
    // comparison of addresses.
    template <class Ch>
    static void update(shared_text<Ch>& text, text_pool<Ch>& pool, std::uint32_t place) {
        auto* const found = pool.at(place);
        if (!found) {
            text = {};
            return;
        }
        auto& [at, copy] = *found;
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

    const snapshot_block& block_;
    const vfl_snapshot_header& header_;
    connection_map::editor edit_;
    text_pool<char>& narrow_;
    text_pool<wchar_t>& wide_;
};

} // namespace

std::int64_t apply_snapshot(connection_map& map, std::string_view bytes, bool remove_closed,
                            const connection_filter* filter) {
    const snapshot_block block(bytes);
    if (block.fault() != 0)
        return block.fault();
    snapshot_fold fold(map, block);
    const std::int64_t size = fold.read_texts();
    if (size < 0)
        return size;
    if (!block.partial())
        fold.reconcile(remove_closed);
    fold.apply_records(remove_closed, filter);
    return size;
}

bool put_snapshot_time(std::string& block, std::int64_t now) {
    if (block.size() < sizeof(vfl_snapshot_header) ||
        snapshot_block(block).fault() == snapshot_block::unknown)
        return false;
    std::uint64_t clock;
    char* const at = block.data() + offsetof(vfl_snapshot_header, clock_and_flags);
    std::memcpy(&clock, at, sizeof clock);
    clock = (clock & VFL_SNAPSHOT_PARTIAL) | (static_cast<std::uint64_t>(now) << 1);
    std::memcpy(at, &clock, sizeof clock);
    return true;
}

} // namespace vfl
