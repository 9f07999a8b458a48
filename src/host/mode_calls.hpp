// What the modes ask of Windows, without decisions.
#pragma once

namespace vfl {

// Waits for one key at the console, without an echo.
void wait_for_key();

// The COM library, for the calling thread.
void initialize_com();
void uninitialize_com();

} // namespace vfl
