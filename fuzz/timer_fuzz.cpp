#include "cl/time/timer_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    timer_round(input);
    return 0;
}
