// Sequences of blocks beside the straightforward decoder.
#include "connview/snapshot_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices c(data, size);
    fakes::snapshot_round(c);
    return 0;
}
