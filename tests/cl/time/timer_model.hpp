// What a timer has to do, told in another way: absolute times of 64 bits, one vector, no states.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

struct timer_model {
    struct entry {
        int key;
        std::int64_t due;
        std::int64_t interval;
        bool once, fixed;
        bool ending = false; // fires no more, and goes when its callback returns
        bool gone = false;   // waits to be taken out
        bool running = false;
    };

    std::int64_t now = 0;
    std::vector<entry*> order;        // of arming
    std::vector<bool> armed;          // by key: whether the handle isn't null
    std::function<void(int)> on_fire; // may start, stop, and move `now`

    explicit timer_model(int keys) : armed(static_cast<std::size_t>(keys)) {}
    ~timer_model() {
        for (entry* e : order)
            delete e;
    }

    entry* find(int key) {
        const auto it =
            std::find_if(order.begin(), order.end(), [key](entry* e) { return e->key == key && !e->gone; });
        return it == order.end() ? nullptr : *it;
    }

    std::vector<bool>::reference handle(int key) { return armed[static_cast<std::size_t>(key)]; }

    void start(int key, std::int64_t interval, bool once, bool fixed, bool replace) {
        entry* e = find(key);
        if (e && !e->ending && !replace)
            return;
        if (!e)
            order.push_back(e = new entry{});
        const bool running = e->running;
        *e = entry{key, now + interval, interval, once, fixed && !once};
        e->running = running;
        handle(key) = true;
    }

    bool stop(int key, bool force) {
        if (!handle(key))
            return false;
        entry* e = find(key);
        if (e)
            (e->running && !force ? e->ending : e->gone) = true;
        handle(key) = false;
        return e != nullptr;
    }

    // The ms until something is due, or nothing.
    std::optional<std::int64_t> pass() {
        for (;;) {
            const std::int64_t begin = now;
            std::erase_if(order, [](entry* e) { return e->gone && (delete e, true); });
            std::vector<entry*> due;
            std::optional<std::int64_t> nearest;
            for (entry* e : order) {
                if (e->due <= begin) {
                    due.push_back(e);
                    if (e->once)
                        continue;
                    e->due = e->fixed ? begin + e->interval : e->due + e->interval;
                    if (e->interval < 3600000)
                        e->due = std::max(e->due, begin - 3 * e->interval);
                }
                nearest = std::min(nearest.value_or(e->due), e->due);
            }
            for (entry* e : due)
                fire(*e);
            if (!nearest)
                return nearest;
            if (*nearest > now)
                return *nearest - now;
        }
    }

private:
    void fire(entry& e) {
        if (e.ending || e.gone)
            return;
        e.ending = e.once;
        e.running = true;
        on_fire(e.key);
        e.running = false;
        if (e.ending && !e.gone) {
            e.gone = true;
            handle(e.key) = false;
        }
    }
};
