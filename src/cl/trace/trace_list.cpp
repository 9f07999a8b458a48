#include "cl/trace/trace_list.hpp"

#include "cl/os/debugger.hpp"
#include "cl/text/text_convert.hpp"

#include <algorithm>

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

// Where the text of an ended list goes.
template <class Ch>
void write_fallback(const Ch* text) {
    os::debug_text(text);
    constexpr std::size_t limit = std::size(trace_early.text) - 1;
    for (; *text != 0 && trace_early.count < limit; ++text)
        trace_early.text[trace_early.count++] = early_char(*text);
    trace_early.text[trace_early.count] = 0;
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
