// The sentences for the reason codes of the hosted network.
#pragma once

#include <cstdint>
#include <string>

namespace cl {

// A whole sentence for every code, also for an unknown one. Any thread may call.
std::string reason_text(std::int32_t code);

} // namespace cl
