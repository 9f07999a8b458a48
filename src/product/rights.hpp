// Administrator check.
#pragma once

namespace vfl {

// True when the calling thread's token has the built-in group of administrators enabled. False also when the
// system can't say. Any thread may call.
bool is_admin();

} // namespace vfl
