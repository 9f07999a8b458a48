// The trace: the system's one way to say something. A message is formatted by its author and handed to one of
// three global lists; the choice of the list is the only severity that it has. Each list passes the text on
// to its sinks.
//
// Any thread may write at any time. The lists have no lock: they are filled before `main` and change once, at
// start-up. Nothing here fails, throws or reports an error.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

namespace cl {

// Root of the sinks. A text is zero-terminated and usually ends in a line feed.
class trace_base {
public:
    virtual ~trace_base() = default;

    // Converts to UTF-8 and goes on to the narrow slot.
    virtual void write(const wchar_t* text, bool flush);
    virtual void write(const char* text, bool flush) = 0;
    virtual void flush(bool again) = 0;
    virtual bool is_async() { return true; }
};

// A list is constant-initialised and never destroyed, so that any thread may write to it at any time; ending
// it only clears `alive`.
struct trace_list {
    // Owned; null while the list is empty. The sinks belong to whoever made them and outlive the list.
    std::vector<trace_base*>* sinks = nullptr;
    std::atomic<bool> alive{true};

    // Short forms of trace_write. As everywhere in the trace, the text ends at its first zero.
    void operator()(const std::string& text);
    void operator()(const std::wstring& text);
};

extern trace_list trace_err; // errors: debugger, log file, standard error
extern trace_list trace_out; // normal output for the user: log file, standard output
extern trace_list trace_log; // the log file alone

// True if the sink was added, false if it was in the list already. With a null or ended list: true, and
// nothing done.
bool trace_add(trace_list* list, trace_base* sink);

// True if the sink was removed, false if it was not in the list. With a null or ended list: true, and nothing
// done.
bool trace_remove(trace_list* list, trace_base* sink);

// Passes the text to every sink in list order. A null list takes nothing; the text of an ended list goes to
// the debugger and to the early buffer.
void trace_write(trace_list* list, const char* text);
void trace_write(trace_list* list, const wchar_t* text);

// Flushes every sink in list order.
void trace_flush(trace_list* list);

// Ends a list for good. Its vector stays where it is, because another thread may be walking it at that
// moment.
void trace_end(trace_list& list);

// What was written to a list that was not alive: at most 255 characters, the rest is cut. Narrow characters
// of 128 and above are kept as '?'. Zero-terminated at every moment. Any thread may append: it claims its
// places first, so no lock is needed, which a dead thread could hold.
struct early_buffer {
    std::atomic<wchar_t> text[256];
    std::atomic<std::size_t> count; // places claimed

    void append(const char* s);
    void append(const wchar_t* s);
    // Returns the text and empties the buffer. What is appended at that moment may be cut.
    std::wstring take();
};
extern early_buffer trace_early;

} // namespace cl
