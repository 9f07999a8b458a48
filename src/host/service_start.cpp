#include "host/service_start.hpp"

#include "cl/format/format.hpp"
#include "cl/log/trace_set_up.hpp"
#include "cl/sys/dynamic_entry.hpp"
#include "cl/trace/trace_list.hpp"
#include "contracts/service_library.h"
#include "host/host_state.hpp"
#include "host/library_function.hpp"

#include <memory>
#include <new>

namespace vfl {

namespace {

// Null while nothing is bound. The first holds the library from the start to the end of the stop.
constinit cl::dynamic_entry* start_binding = nullptr;
constinit cl::dynamic_entry* stop_binding = nullptr;

void drop(cl::dynamic_entry*& binding) {
    delete binding;
    binding = nullptr;
}

// The function's address; null also when there is no memory for the binding.
template <class F>
F* bind_anew(cl::dynamic_entry*& binding, const char* function) {
    drop(binding);
    binding = new (std::nothrow) cl::dynamic_entry(dll_path, function);
    return binding && binding->address ? binding->as<F*>() : nullptr;
}

} // namespace

bool start_service() {
    cl::trace_out(std::string("start_service()\n"));
    if (game_analyzer_requested) {
        const library_function<vfl_set_game_analyzer> set_analyzer(VFL_SET_GAME_ANALYZER);
        if (set_analyzer)
            set_analyzer.call();
    }
    // What is said so far is on the disk before foreign code runs.
    cl::trace_file.flush(true);
    if (const auto start = bind_anew<vfl_start_service_ex>(start_binding, VFL_START_SERVICE))
        return (start(VFL_CALL_TOKEN) & 0xFF) != 0;
    cl::trace_out((cl::basic_format<wchar_t>(L"Unable to load %?\n") << dll_path).str());
    return false;
}

void stop_service() {
    cl::trace_out(std::string("stop_service()\n"));
    cl::trace_file.flush(true);
    if (const auto stop = bind_anew<vfl_stop_service_ex>(stop_binding, VFL_STOP_SERVICE))
        stop(VFL_CALL_TOKEN);
    drop(stop_binding);
    drop(start_binding);
}

} // namespace vfl
