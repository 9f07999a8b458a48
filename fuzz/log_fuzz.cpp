// The log beside its model: the input chooses the steps.
#include "cl/log/log_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices numbers(data, size);
    log_round::run(numbers);
    return 0;
}
