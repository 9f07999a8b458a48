#include "cl/sys/os_edition.hpp"

namespace cl {

namespace {

enum suite : std::uint32_t {
    small_business = 0x1,
    enterprise = 0x2,
    back_office = 0x4,
    terminal = 0x10,
    restricted_small_business = 0x20,
    datacenter = 0x80,
    personal = 0x200,
    blade = 0x400,
    security_appliance = 0x1000,
    storage_server = 0x2000,
    compute_server = 0x4000,
    home_server = 0x8000,
};

enum product : std::uint32_t { workstation = 1, domain_controller = 2, server = 3 };

const wchar_t* server_release(const os_facts& facts, std::uint32_t version) {
    switch (version) {
    case 502:
        // A home server that is nothing else has no year.
        if (facts.product_type != server || facts.suite_mask == home_server)
            return L"";
        return facts.server_r2 ? L" 2003 R2" : L" 2003";
    case 600:
        return facts.product_type != workstation ? L" 2008" : L"";
    case 601:
        return facts.product_type != workstation ? L" 2008 R2" : L"";
    case 602:
        return facts.product_type != workstation ? L" 2012" : L"";
    default:
        return L"";
    }
}

} // namespace

std::wstring edition_words(const os_facts& facts, std::uint32_t version) {
    const std::uint32_t type = facts.product_type;
    const auto has = [&](suite bit) { return (facts.suite_mask & bit) != 0; };
    std::wstring words;
    bool server_family = false;
    bool edition = false;

    if (type == workstation) {
        if (facts.shown.major == 4)
            words += L" Workstation";
        else if (version == 500 || (version == 501 && !has(personal)))
            words += L" Professional";
    }
    if (has(personal))
        words += L" Home";
    if (has(back_office))
        words += L" BackOffice";
    if (has(terminal))
        words += L" Terminal Services";
    if (has(restricted_small_business)) {
        words += L" Restricted Small Business";
        server_family = true;
    } else if (has(small_business)) {
        words += L" Small Business";
        server_family = true;
    }
    if (has(datacenter)) {
        words += L" Datacenter";
        (version == 500 ? server_family : edition) = true;
    }
    if (has(enterprise) && version == 500)
        words += L" Advanced";
    if (has(storage_server)) {
        words += L" Storage";
        server_family = true;
    }
    if (has(home_server))
        words += L" Home";
    if (has(home_server) || server_family || type == domain_controller || type == server)
        words += type == domain_controller ? L" Domain Controller" : L" Server";
    words += server_release(facts, version);
    if (has(blade)) {
        words += L" Web";
        edition = true;
    }
    if (has(enterprise) && (facts.shown.major != 5 || facts.shown.minor != 0)) {
        words += L" Enterprise";
        edition = true;
    }
    if (has(compute_server)) {
        words += L" Compute Cluster";
        edition = true;
    }
    if (version == 501 && facts.media_center) {
        words += L" Media Center";
        edition = true;
    }
    if (facts.starter)
        words += L" Starter Edition";
    else if (edition)
        words += L" Edition";
    if (has(security_appliance))
        words += L" Security Appliance";
    return words;
}

} // namespace cl
