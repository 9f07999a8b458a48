#include "cl/trace/trace_list.hpp"

#include "cl/os/debugger.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>
#include <string>
#include <type_traits>

namespace cl {

constinit trace_list trace_err;
constinit trace_list trace_out;
constinit trace_list trace_log;
constinit early_buffer trace_early{};

namespace {

wchar_t early_char(wchar_t c) {
    return c;
}
wchar_t early_char(char c) {
    return static_cast<unsigned char>(c) < 128 ? static_cast<wchar_t>(c) : L'?';
}

template <class Ch>
void append_early(early_buffer& buffer, const Ch* s) {
    constexpr std::size_t limit = sizeof early_buffer::text / sizeof(wchar_t) - 1;
    const std::size_t n = std::char_traits<Ch>::length(s);
    std::size_t at = buffer.count.load(std::memory_order_relaxed);
    std::size_t end = 0;
    do
        end = at + std::min(n, limit - at);
    while (!buffer.count.compare_exchange_weak(at, end, std::memory_order_relaxed));
    for (; at != end; ++at, ++s)
        buffer.text[at].store(early_char(*s), std::memory_order_relaxed);
}

// Where the text of an ended list goes.
template <class Ch>
void write_fallback(const Ch* text) {
    os::debug_text(text);
    trace_early.append(text);
}

template <class Ch>
void write_list(trace_list* list, const Ch* text) {
    if (!list || !text)
        return;
    if (!list->alive.load(std::memory_order_relaxed)) {
        write_fallback(text);
        return;
    }
    if (list->sinks)
        for (trace_base* const sink : *list->sinks)
            sink->write(text, true);
}

bool is_dead(const trace_list* list) {
    return !list || !list->alive.load(std::memory_order_relaxed);
}

} // namespace

void early_buffer::append(const char* s) {
    append_early(*this, s);
}
void early_buffer::append(const wchar_t* s) {
    append_early(*this, s);
}

std::wstring early_buffer::take() {
    std::wstring s;
    for (std::atomic<wchar_t>& c : text)
        if (const wchar_t kept = c.exchange(0, std::memory_order_relaxed))
            s += kept;
    count.store(0, std::memory_order_relaxed);
    return s;
}

void trace_base::write(const wchar_t* text, bool flush) {
    write(utf16_to_utf8(text).c_str(), flush);
}

void trace_list::operator()(const std::string& text) {
    trace_write(this, text.c_str());
}
void trace_list::operator()(const std::wstring& text) {
    trace_write(this, text.c_str());
}

bool trace_add(trace_list* list, trace_base* sink) {
    if (is_dead(list))
        return true;
    if (!list->sinks)
        list->sinks = new std::vector<trace_base*>;
    if (std::find(list->sinks->begin(), list->sinks->end(), sink) != list->sinks->end())
        return false;
    list->sinks->push_back(sink);
    return true;
}

bool trace_remove(trace_list* list, trace_base* sink) {
    if (is_dead(list))
        return true;
    return list->sinks && std::erase(*list->sinks, sink) != 0;
}

void trace_write(trace_list* list, const char* text) {
    write_list(list, text);
}
void trace_write(trace_list* list, const wchar_t* text) {
    write_list(list, text);
}

void trace_flush(trace_list* list) {
    if (!is_dead(list) && list->sinks)
        for (trace_base* const sink : *list->sinks)
            sink->flush(true);
}

void trace_end(trace_list& list) {
    list.alive.store(false, std::memory_order_relaxed);
}

} // namespace cl
