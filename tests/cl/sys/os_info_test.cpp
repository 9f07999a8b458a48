#include "cl/sys/os_edition.hpp"
#include "cl/sys/os_info.hpp"
#include "rows.hpp"

#include <gtest/gtest.h>

namespace {

using cl::os_facts;

os_facts system_of(std::uint32_t version, std::uint32_t build, std::uint32_t product_type = 1,
                   std::uint32_t suite = 0) {
    os_facts f;
    f.shown = {version / 100, version % 100, build};
    f.real = {version / 100, version % 100, 0xF0000000 | build};
    f.platform_id = 2;
    f.product_type = product_type;
    f.suite_mask = suite;
    f.processors = 1;
    f.page_size = 4096;
    f.lang_id = 0x409;
    f.product_name = L"Some";
    f.current_type = L"Type";
    return f;
}

std::uint32_t number(const row& r, const char* column) {
    return static_cast<std::uint32_t>(r.number(column));
}

TEST(os_info, edition_words) {
    for_rows("os_edition.tsv", [](const row& r) {
        const std::uint32_t version = number(r, "version"), shown = number(r, "shown");
        os_facts f = system_of(shown ? shown : version, 1, number(r, "kind"), number(r, "suite"));
        const std::string flags = r.text("flags");
        f.server_r2 = flags.find('r') != flags.npos;
        f.media_center = flags.find('m') != flags.npos;
        f.starter = flags.find('s') != flags.npos;
        EXPECT_EQ(cl::edition_words(f, version), r.wide("words"));
    });
}

TEST(os_info, texts) {
    for_rows("os_texts.tsv", [](const row& r) {
        os_facts f = system_of(number(r, "version"), number(r, "build"));
        f.sp_major = number(r, "sp_major");
        f.sp_minor = number(r, "sp_minor");
        f.processors = number(r, "processors");
        f.product_name = r.wide("product_name");
        f.current_type = r.wide("current_type");
        const cl::os_record os = cl::make_os_record(f);
        const std::wstring product = r.wide("product"), procs = r.wide("procs"), v = r.wide("version_text");
        EXPECT_EQ(os.description, product + L" (x64)" + procs + L" v" + v + L", LangId 0409");
        EXPECT_EQ(os.product_text, product + procs);
        EXPECT_EQ(os.version_text, v + L" (x64)");
        EXPECT_EQ(os.sp_value, f.sp_major * 100 + f.sp_minor);
        EXPECT_EQ(os.build, f.shown.build) << "without the flag bits";
        EXPECT_FALSE(os.version_masked);
    });
}

TEST(os_info, a_masked_version_and_an_unknown_platform) {
    os_facts f = system_of(1000, 19045, 3);
    f.shown = {6, 0, 6002};
    f.sp_major = 2;
    f.build_lab = L"lab";
    const cl::os_record masked = cl::make_os_record(f);
    EXPECT_TRUE(masked.version_masked);
    EXPECT_EQ(masked.version, 1000u);
    EXPECT_EQ(masked.build, 19045u);
    EXPECT_EQ(masked.sp_major + masked.sp_value, 0u);
    EXPECT_EQ(masked.version_text, L"10.00.19045 Server (x64)");
    EXPECT_EQ(masked.build_lab, L"lab");

    f.build_lab_ex = L"long lab";
    EXPECT_EQ(cl::make_os_record(f).build_lab, L"long lab");
    f.shown = {10, 0, 19044};
    EXPECT_TRUE(cl::make_os_record(f).version_masked) << "the build alone differs";

    f.platform_id = 3;
    const cl::os_record unknown = cl::make_os_record(f);
    EXPECT_EQ(unknown.product, L"unknown");
    EXPECT_EQ(unknown.build, 19044u) << "the first reading stands";
    EXPECT_EQ(unknown.sp_major, 0u);
    EXPECT_FALSE(unknown.at_least_601);
    EXPECT_EQ(unknown.description, L"unknown (x64) v10.00.19044, LangId 0409");
    EXPECT_EQ(unknown.registry_view, 0x100u);
}

} // namespace
