#include "cl/sys/os_info.hpp"

#include "cl/format/text.hpp"
#include "cl/os/never_destroyed.hpp"
#include "cl/sys/os_edition.hpp"

#include <string_view>

namespace cl {

namespace {

constexpr const wchar_t* x64 = L" (x64)";

// Systems that have a registry, and with it a product name: Windows 9x and NT.
bool is_known_platform(std::uint32_t platform_id) {
    return platform_id == 1 || platform_id == 2;
}

const wchar_t* name_of_version(std::uint32_t version) {
    if (version >= 604)
        return L"Windows 10 (x64)";
    switch (version) {
    case 601:
        return L"Windows 7 (x64)";
    case 602:
        return L"Windows 8 (x64)";
    case 603:
        return L"Windows 8.1 (x64)";
    default:
        return L"Windows NT";
    }
}

// A missing type leaves its blank: deliberate.
std::wstring product_words(std::wstring name, const std::wstring& type) {
    constexpr std::wstring_view maker = L"Microsoft ";
    if (name.empty())
        return name;
    if (name.starts_with(maker))
        name.erase(0, maker.size());
    return name + L' ' + type;
}

void set_numbers(os_record& os, const os_facts::numbers& numbers) {
    os.major = numbers.major;
    os.minor = numbers.minor;
    os.build = numbers.build;
    os.version = numbers.major * 100 + numbers.minor;
}

void set_names(os_record& os, const os_facts& facts) {
    os.at_least_601 = os.version >= 601;
    os.at_least_602 = os.version >= 602;
    os.at_least_603 = os.version >= 603;
    os.at_least_604 = os.version >= 604;
    os.short_name = name_of_version(os.version);
    os.product = product_words(facts.product_name, facts.current_type);
    os.build_lab = !facts.build_lab_ex.empty() ? facts.build_lab_ex : facts.build_lab;
    if (os.product.empty())
        os.product = os.short_name;
    os.edition = edition_words(facts, os.version);
}

std::wstring service_pack_text(const os_record& os) {
    if (os.version_masked || os.sp_value == 0)
        return {};
    if (os.sp_value % 100 == 0)
        return text(L", SP%?", os.sp_value / 100);
    return text(L", SP%,.2?", os.sp_value);
}

void set_texts(os_record& os) {
    const std::wstring sp = service_pack_text(os);
    std::wstring procs;
    if (os.processors != 1)
        procs = text(L" (%u procs)", os.processors);
    // A product that took the short name has " (x64)" twice: deliberate.
    os.description = text(L"%?%?%? v%,.2?.%?%?%?, LangId %04x", os.product, x64, procs, os.version, os.build,
                          os.edition, sp, os.lang_id);
    os.product_text = os.product + procs;
    os.version_text = text(L"%,.2?.%?%?%?%?", os.version, os.build, os.edition, sp, x64);
}

constinit never_destroyed<os_record> this_system;

} // namespace

os_record& os_info = this_system.get();

os_record make_os_record(const os_facts& facts) {
    os_record os;
    set_numbers(os, facts.shown);
    os.valid = true;

    os_facts::numbers real = facts.real;
    real.build &= 0xFFFF; // the high bits show the kind of the build
    os.version_masked =
        real.major != facts.shown.major || real.minor != facts.shown.minor || real.build != facts.shown.build;
    os.tablet = facts.tablet;

    if (is_known_platform(facts.platform_id)) {
        set_numbers(os, real);
        if (!os.version_masked) {
            os.sp_major = facts.sp_major;
            os.sp_value = facts.sp_major * 100 + facts.sp_minor;
        }
        set_names(os, facts);
    } else {
        os.product = L"unknown";
    }

    os.processors = facts.processors;
    os.lang_id = facts.lang_id;
    os.page_size = facts.page_size;
    set_texts(os);
    os.registry_view = 0x100; // KEY_WOW64_64KEY
    return os;
}

void fill_os_info(const os_facts& facts) {
    this_system.create(make_os_record(facts));
}

} // namespace cl
