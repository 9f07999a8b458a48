// A log on a disk of its own, with a timer whose clock the test moves.
#pragma once

#include "cl/log/file_trace.hpp"
#include "fakes/disk.hpp"
#include "fakes/fake_clock.hpp"

// A clean disk and the first tick, before everything that reads them.
struct clean_system {
    clean_system() {
        fakes::disk::reset();
        fakes::clock::reset();
        fakes::clock::set_local({2026, 11, 22, 23, 59, 7, 42});
        cl::default_stamp_format = {"%02?%02?%02?", "-%03?", " ", ""};
    }
};

template <class Trace = cl::file_trace>
struct trace_rig : clean_system {
    static constexpr const wchar_t* path = L"d\\trace.txt";
    static constexpr const wchar_t* old_path = L"d\\trace_old.txt";

    cl::passive_timer host{"test"};
    Trace trace{&host};

    // Moves the clock, and returns when everything that is due by then has been done.
    void pass_time(std::uint32_t ms) {
        fakes::clock::advance(ms);
        // The end of a pass that was under way counts for the first one.
        host.flush_sweep(0);
        host.flush_sweep(0);
    }

    static std::string log() { return fakes::disk::bytes(path); }
    static std::string old_log() { return fakes::disk::bytes(old_path); }
};
