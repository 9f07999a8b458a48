// The names that the product's executable defines and the unit tests need: a log without a timer, which
// writes each text at once, settings whose timer never fires, and a clock on a simulated machine.
#include "cl/ini/cached_ini.hpp"
#include "cl/log/trace_set_up.hpp"
#include "cl/time/fake_machine.hpp"
#include "cl/time/hrtime.hpp"
#include "cl/trace/stream_trace.hpp"
#include "host/host_state.hpp"

namespace {

struct idle_timer final : cl::base_timer {
    idle_timer() : base_timer("idle", false) {}
    void wake() override {}
    void wait_due_known(cl::mutex_auto&) override {}
};

idle_timer timer;
cl::file_trace log(nullptr);

} // namespace

namespace cl {

constinit bool console_application = true;
constinit file_trace& trace_file = log;
cached_ini global_ini(timer);
fact_store system_facts;
hrtime_clock hrtime(fakes::machine_sources, system_facts);

} // namespace cl

namespace vfl {

std::wstring install_dir, data_dir, library_path;
std::wstring& dll_path = library_path;
constinit bool game_analyzer_requested = false;

} // namespace vfl
