#include "ctl/ctl_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    ctl_round(input);
    return 0;
}
