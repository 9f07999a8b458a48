#include "cl/sys/seed_text.hpp"
#include "rows.hpp"

namespace {

TEST(seed_text, addresses_of_real_adapters) {
    using cl::network_adapter;
    for_rows("adapters.tsv", [](const row& r) {
        const std::string address = r.text("address"), shown = r.text("shown");
        const network_adapter adapter{static_cast<std::uint32_t>(r.number("kind")),
                                      {address.begin(), address.end()},
                                      r.text("description")};
        EXPECT_EQ(cl::adapter_addresses({&adapter, 1}), shown.empty() ? "" : shown + " ");
    });
    const network_adapter several[] = {
        {6, {8, 0, 0, 0, 0, 2}, ""}, {71, {4, 0, 0, 0, 0, 9}, ""}, {6, {8, 0, 0, 0, 0, 2}, ""}};
    EXPECT_EQ(cl::adapter_addresses(several), "04:00:00:00:00:09 08:00:00:00:00:02 ") << "sorted, each once";
}

TEST(seed_text, the_stable_part) {
    cl::os_record os;
    os.description = L"Some Windows";
    os.version = 601;
    os.build = 7601;
    os.sp_major = 1;
    os.build_lab = L"lab";
    cl::cpu_record cpu;
    cpu.brand_text = "CPU ";
    std::copy_n("GenuineIntel", 12, cpu.vendor);
    cpu.leaf1[0] = 12345;
    cl::machine_identity machine;
    machine.user = "user";
    machine.fresh.data1 = 0xABC;
    machine.machine_sid = L"S-1-5";
    machine.adapters = {{6, {0x00, 0x50, 0x56, 1, 2, 3}, ""}};
    const std::string first = "Some Windows; 6.01.7601 SP1 (lab); CPU ; GenuineIntel; 12345; ";
    const std::string rest = "user; ; 00000abc-0000-0000-0000-000000000000; S-1-5; ; ";
    EXPECT_EQ(cl::stable_seed_text(os, cpu, machine), first + rest) << "the registry step is left out";
    machine.registered = {"", "C:\\windows", "me", ""};
    EXPECT_EQ(cl::stable_seed_text(os, cpu, machine), first + "; C:\\windows; me; ; " + rest);
}

TEST(seed_text, the_varying_part) {
    cl::moment now;
    now.system_time = 0x1D9ABCDEF012345;
    now.thread = 16;
    now.process = 17;
    EXPECT_EQ(cl::varying_seed_text(now), "1d9abcdef012345; 0; 0; 10; 11; 0; 0; 0; "
                                          "00000000-0000-0000-0000-000000000000; ");
    now.tsc = 0xFEDCBA9876543210;
    now.rdrand = 1;
    now.secure = {0xFFFFFFFF, 2};
    now.firmware.assign(8, std::byte{});
    for (const int b : {2, 5, 0, 0, 1, +'B', 0, 0})
        now.firmware.push_back(static_cast<std::byte>(b));
    now.provider.emplace().fill(0x0F);
    EXPECT_EQ(
        cl::varying_seed_text(now),
        "1d9abcdef012345; 0; 0; fedcba9876543210; 1; 10; 11; 0; 0; 0; 00000000-0000-0000-0000-000000000000; "
        "ffffffff; 2; B; ; ; ; ; 2; 0f0f0f0f0f0f0f0f0f0f0f0f0f0f0f0f; ");
}

TEST(seed_text, the_twister_depends_on_all_of_the_text) {
    std::mt19937 first, again, other;
    for (const char* text : {"", "1234567", "12345678", "a longer text; with items; \xE4; "}) {
        cl::seed_twister(first, text);
        cl::seed_twister(again, text);
        cl::seed_twister(other, std::string(text) + '!');
        EXPECT_TRUE(first == again && first != other && first != std::mt19937()) << text;
    }
}

} // namespace
