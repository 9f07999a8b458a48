#include "cl/ini/ini_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices input(data, size);
    ini_round(input);
    return 0;
}
