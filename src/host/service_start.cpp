#include "host/service_start.hpp"

#include "cl/log/trace_set_up.hpp"
#include "cl/sys/dynamic_entry.hpp"
#include "cl/trace/say.hpp"
#include "contracts/service_library.h"
#include "host/host_state.hpp"
#include "host/library_function.hpp"

#include <atomic>
#include <new>

namespace vfl {

namespace {

// The first holds the library from the start to the end of the stop, the second for the length of the stop's
// call. Null while nothing is bound. Whoever takes a binding out owns it, so that a start and a stop beside
// it never drop the same one.
constinit std::atomic<cl::dynamic_entry*> start_binding{nullptr}, stop_binding{nullptr};

void rebind(std::atomic<cl::dynamic_entry*>& binding, cl::dynamic_entry* next) {
    delete binding.exchange(next);
}

} // namespace

bool start_service() {
    cl::say(cl::trace_out, "start_service()\n");
    if (game_analyzer_requested) {
        const library_function<vfl_set_game_analyzer> set_analyzer(VFL_SET_GAME_ANALYZER);
        if (set_analyzer)
            set_analyzer.call();
    }
    // What is said so far is on the disk before foreign code runs.
    cl::trace_file.flush(true);
    rebind(start_binding, nullptr);
    // A reference of its own for the length of the call: a stop beside it may drop the other one.
    const library_function<vfl_start_service_ex> start(VFL_START_SERVICE);
    cl::dynamic_entry* const held =
        start ? new (std::nothrow) cl::dynamic_entry(dll_path, VFL_START_SERVICE) : nullptr;
    if (!held) {
        say_not_loaded(L"Unable to load %?\n", start.error);
        return false;
    }
    rebind(start_binding, held);
    return (start.call(VFL_CALL_TOKEN) & 0xFF) != 0;
}

void stop_service() {
    cl::say(cl::trace_out, "stop_service()\n");
    cl::trace_file.flush(true);
    rebind(stop_binding, nullptr);
    auto* const stop = new (std::nothrow) cl::dynamic_entry(dll_path, VFL_STOP_SERVICE);
    rebind(stop_binding, stop);
    if (stop && stop->address)
        stop->as<vfl_stop_service_ex*>()(VFL_CALL_TOKEN);
    rebind(stop_binding, nullptr);
    rebind(start_binding, nullptr);
}

} // namespace vfl
