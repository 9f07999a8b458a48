#include "cl/sys/seed_text.hpp"

#include "cl/format/text.hpp"
#include "cl/sys/blowfish.hpp"
#include "cl/sys/md5.hpp"
#include "cl/sys/smbios.hpp"

namespace cl {

namespace {

// Appends the items one after the other.
class item_list {
public:
    template <class... Values>
    item_list& operator()(checked_format<char, sizeof...(Values)> format, const Values&... values) {
        text_ += text(format, values...);
        return *this;
    }
    template <class Value>
    item_list& item(const Value& value) {
        return (*this)("%?; ", value);
    }
    template <class Value>
    item_list& number(Value value) {
        return (*this)("%x; ", value);
    }
    item_list& raw(const std::string& text) {
        text_ += text;
        return *this;
    }
    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

// Their only role is to spread the bits of the text.
constexpr std::uint8_t spread_key[16] = {0x3C, 0x91, 0xE7, 0x42, 0x5D, 0xB8, 0x06, 0xFA,
                                         0x77, 0x1E, 0xC5, 0x89, 0x20, 0xD3, 0x6B, 0xA4};
constexpr std::uint8_t spread_initial[blowfish::block_bytes] = {0x9A, 0x53, 0x08, 0xEC,
                                                                0x41, 0xB7, 0x2F, 0xD6};

// The first outputs of the engine depend on few bits of a poor seed.
constexpr unsigned long long warm_up = 300000;

} // namespace

std::string stable_seed_text(const os_record& os, const cpu_record& cpu, const machine_identity& machine) {
    item_list items;
    items("%?; %,.2?.%? SP%? (%?); ", os.description, os.version, os.build, os.sp_major, os.build_lab);
    items("%?; %?; %?; ", cpu.brand_text, cpu.vendor, cpu.leaf1[0]);
    if (const auto& r = machine.registered)
        items.item(r->product_id).item(r->system_root).item(r->owner).item(r->organisation);
    items.item(machine.user).item(machine.computer);
    items.item(machine.fresh).item(machine.machine_sid);
    items.item(adapter_addresses(machine.adapters));
    return items.take();
}

std::string varying_seed_text(const moment& now) {
    item_list items;
    items.number(now.system_time).number(now.tick_count).number(now.performance_counter);
    if (now.tsc)
        items.number(*now.tsc);
    if (now.rdrand)
        items.number(*now.rdrand);
    items.number(now.thread).number(now.process).number(now.processor);
    items.number(now.backoff).number(now.name);
    items.item(now.fresh);
    for (const std::uint32_t value : now.secure)
        items.number(value);
    items.raw(smbios_items(now.firmware));
    if (now.provider) {
        for (const std::uint8_t byte : *now.provider)
            items("%02x", byte);
        items.raw("; ");
    }
    return items.take();
}

void seed_twister(std::mt19937& engine, const std::string& text) {
    std::string spread = md5_text(md5(text)) + text;
    while (spread.size() % blowfish::block_bytes != 0)
        spread += '\0';
    blowfish(spread_key).encrypt_cbc(spread, spread_initial);

    std::vector<std::uint32_t> values;
    values.reserve(spread.size());
    for (const char c : spread)
        values.push_back(static_cast<std::uint32_t>(static_cast<std::int8_t>(c)));
    std::seed_seq sequence(values.begin(), values.end());
    engine.seed(sequence);
    engine.discard(warm_up);
}

} // namespace cl
