#include "cl/file/text_round.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    choices numbers(data, size);
    run_text_file(numbers);
    return 0;
}
