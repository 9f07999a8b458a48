#include "ctl/pe_exports.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

namespace vfl::ctl {

namespace {

// Places and numbers of the PE format.
constexpr std::size_t pe_offset_at = 0x3C;
constexpr std::uint16_t machine_x64 = 0x8664, magic_64_bit = 0x20B, is_dll_flag = 0x2000;
constexpr std::size_t file_header_size = 24, export_directory_at = 112, section_header_size = 40;
// What Windows loads at the most, and what bounds the work on a file that only pretends.
constexpr std::uint16_t most_sections = 96;
constexpr std::uint32_t most_exports = 65536;
constexpr std::size_t most_name = 256;

class reader {
public:
    explicit reader(std::string_view bytes) : bytes_(bytes) {}

    template <class T>
    [[nodiscard]] std::optional<T> get(std::size_t at) const {
        T value;
        if (at > bytes_.size() || bytes_.size() - at < sizeof value)
            return {};
        std::memcpy(&value, bytes_.data() + at, sizeof value);
        return value;
    }
    [[nodiscard]] std::string text(std::size_t at) const {
        if (at >= bytes_.size())
            return {};
        const std::string_view rest = bytes_.substr(at, most_name);
        return std::string(rest.substr(0, rest.find('\0')));
    }

private:
    std::string_view bytes_;
};

} // namespace

pe_file read_pe(std::string_view bytes) {
    pe_file file;
    const reader in(bytes);
    const auto pe = in.get<std::uint32_t>(pe_offset_at);
    if (!bytes.starts_with("MZ") || !pe || in.get<std::uint32_t>(*pe) != 0x4550u || // "PE", two zeros
        in.get<std::uint16_t>(*pe + 4) != machine_x64)
        return file;
    const std::size_t optional = *pe + file_header_size;
    const auto sections = in.get<std::uint16_t>(*pe + 6), optional_size = in.get<std::uint16_t>(*pe + 20),
               flags = in.get<std::uint16_t>(*pe + 22);
    if (!sections || !optional_size || !flags || !(*flags & is_dll_flag) ||
        in.get<std::uint16_t>(optional) != magic_64_bit)
        return file;
    file.is_x64_dll = true;

    // From an address in memory to a place in the file.
    const auto place = [&](std::uint32_t address) -> std::size_t {
        for (std::size_t i = 0; i < std::min(*sections, most_sections); ++i) {
            const std::size_t header = optional + *optional_size + i * section_header_size;
            const auto start = in.get<std::uint32_t>(header + 12), size = in.get<std::uint32_t>(header + 16),
                       data = in.get<std::uint32_t>(header + 20);
            if (start && size && data && address >= *start && address - *start < *size)
                return std::size_t{*data} + (address - *start);
        }
        return bytes.size();
    };
    const auto directory = in.get<std::uint32_t>(optional + export_directory_at);
    if (!directory || *directory == 0)
        return file;
    const std::size_t table = place(*directory);
    const auto count = in.get<std::uint32_t>(table + 24), names = in.get<std::uint32_t>(table + 32);
    if (!count || !names)
        return file;
    const std::size_t list = place(*names);
    for (std::uint32_t i = 0; i < std::min(*count, most_exports); ++i)
        if (const auto name = in.get<std::uint32_t>(list + std::size_t{4} * i))
            file.exports.push_back(in.text(place(*name)));
    return file;
}

} // namespace vfl::ctl
