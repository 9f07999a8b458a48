// The names that the product's executable defines and the unit tests need.
#include "cl/trace/list/stream_trace.hpp"

namespace cl {

constinit bool console_application = true;

} // namespace cl
