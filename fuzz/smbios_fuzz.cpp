#include "cl/sys/smbios_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    smbios_round(input);
    return 0;
}
