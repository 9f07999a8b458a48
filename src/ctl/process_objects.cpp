// Every process-wide object of vflctl that is built at run time, in the order in which they must be
// constructed; destruction is the reverse. It has no log: all that the class library says goes to standard
// error.
#include "cl/file/random_gen.hpp"
#include "cl/sys/cpu_info.hpp"
#include "cl/sys/entropy.hpp"
#include "cl/sys/library_table.hpp"
#include "cl/sys/os_info.hpp"
#include "cl/sys/system_facts.hpp"
#include "cl/time/hrtime.hpp"
#include "ctl/error_trace.hpp"

namespace {

// Before everything that asks Windows: whoever opens a registry key takes the registry's view from the
// record.
struct os_setup {
    os_setup() { cl::fill_os_info(cl::read_os_facts()); }
} set_up_os;

vfl::ctl::error_trace error_sink;

struct list_setup {
    list_setup() {
        trace_add(&cl::trace_out, &error_sink);
        trace_add(&cl::trace_err, &error_sink);
    }
    ~list_setup() {
        cl::trace_end(cl::trace_log);
        cl::trace_end(cl::trace_out);
        cl::trace_end(cl::trace_err);
    }
    list_setup(const list_setup&) = delete;
    list_setup& operator=(const list_setup&) = delete;
} set_up_lists;

// Before all that is bound at run time.
struct library_setup {
    library_setup() { cl::create_libraries(cl::windows_modules); }
} set_up_libraries;

struct cpu_setup {
    cpu_setup() { cl::fill_cpu_info(); }
} set_up_cpu;

} // namespace

namespace cl {

// After the records and the library table, which the clock asks when it chooses its source at the first
// reading. The store comes first, because the clock writes there.
fact_store system_facts;
hrtime_clock hrtime(windows_clock_sources, system_facts);

} // namespace cl

namespace {

// After the clock, whose reading the seeds mix in. Names of temporary files must differ between processes.
struct seed_setup {
    seed_setup() {
        cl::backoff_rng.seed(cl::new_seed());
        cl::name_rng.seed(cl::new_seed());
    }
} set_up_seeds;

} // namespace
