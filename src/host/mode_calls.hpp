// What the modes ask of Windows, without decisions.
#pragma once

namespace vfl {

// The COM library, for the calling thread.
void initialize_com();
void uninitialize_com();

} // namespace vfl
