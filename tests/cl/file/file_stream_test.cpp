#include "cl/file/file_stream.hpp"

#include "fakes/fake_file.hpp"

#include <gtest/gtest.h>

namespace {

using fakes::disk;
using fakes::file_op;

struct file_stream_test : testing::Test {
    const std::wstring path = L"C:\\a.bin";
    cl::file_stream file;
    char out[20000] = {};

    file_stream_test() { disk::reset(); }
    ~file_stream_test() override { disk::clear_faults(); }

    void open(const std::string& content) {
        disk::put(path, content);
        ASSERT_TRUE(file.open(path, 2, 64));
        disk::clear_log();
    }
    // The sizes of the system's reads or writes since the last question.
    static std::vector<std::uint32_t> sizes(file_op op) {
        std::vector<std::uint32_t> all;
        for (const auto& call : disk::log())
            if (call.op == op)
                all.push_back(call.asked);
        disk::clear_log();
        return all;
    }
};
using sizes_list = std::vector<std::uint32_t>;

TEST_F(file_stream_test, rights) {
    disk::put(path, "abc");
    ASSERT_TRUE(file.open(path, 0, 64));
    EXPECT_EQ(file.write("x", 1), -1);
    EXPECT_EQ(file.write("x", 0), 0);
    ASSERT_TRUE(file.open(path, 1, 64));
    EXPECT_EQ(file.read(out, 1), -1);
    EXPECT_EQ(file.read(out, -5), 0);
    EXPECT_EQ(file.last_error, 0u);
}

} // namespace
