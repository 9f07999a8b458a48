// Catches what is said on the trace lists while it lives. Wide text arrives as UTF-8.
#pragma once

#include "cl/trace/trace_list.hpp"

#include <mutex>
#include <string>

namespace fakes {

struct recording_trace final : cl::trace_base {
    std::mutex lock; // for writers; `text` is read when they are done
    std::string text;
    int flushes = 0;

    using trace_base::write;
    void write(const char* t, bool) override {
        const std::scoped_lock scope(lock);
        text += t;
    }
    void flush(bool) override { ++flushes; }
};

struct trace_capture {
    recording_trace out, err, log, all;

    trace_capture() {
        for (cl::trace_list* list : {&cl::trace_out, &cl::trace_err, &cl::trace_log})
            cl::trace_add(list, &all);
        cl::trace_add(&cl::trace_out, &out);
        cl::trace_add(&cl::trace_err, &err);
        cl::trace_add(&cl::trace_log, &log);
    }
    ~trace_capture() {
        for (cl::trace_list* list : {&cl::trace_out, &cl::trace_err, &cl::trace_log})
            cl::trace_remove(list, &all);
        cl::trace_remove(&cl::trace_out, &out);
        cl::trace_remove(&cl::trace_err, &err);
        cl::trace_remove(&cl::trace_log, &log);
    }
    trace_capture(const trace_capture&) = delete;
    trace_capture& operator=(const trace_capture&) = delete;
};

} // namespace fakes
