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

TEST_F(file_stream_test, writes_up_to_the_buffers_size_are_gathered) {
    open("");
    const std::string data(10000, 'd');
    EXPECT_EQ(file.write(data.data(), 4095), 4095);
    EXPECT_EQ(sizes(file_op::write), sizes_list());
    EXPECT_EQ(file.write(data.data(), 1), 1);
    EXPECT_EQ(sizes(file_op::write), sizes_list()) << "exactly full";
    EXPECT_EQ(file.write(data.data(), 1), 1);
    EXPECT_EQ(sizes(file_op::write), (sizes_list{4096, 1}));
    EXPECT_EQ(file.write(data.data(), 4096), 4096);
    EXPECT_EQ(sizes(file_op::write), sizes_list{4096});
    EXPECT_EQ(file.write(data.data(), 10), 10);
    EXPECT_EQ(file.write(data.data(), 5000), 5000);
    EXPECT_EQ(sizes(file_op::write), (sizes_list{10, 5000}));
    EXPECT_EQ(disk::bytes(path), std::string(4097 + 4096 + 5010, 'd'));
}

TEST_F(file_stream_test, reads_bypass_the_buffer_when_large) {
    std::string content;
    for (int i = 0; i < 20000; ++i)
        content += static_cast<char>(i * 7 + i / 251);
    open(content);
    std::string all;
    const auto read = [&](std::int64_t n) {
        const std::int64_t got = file.read(out, n);
        all.append(out, static_cast<std::size_t>(got));
        return got;
    };
    EXPECT_EQ(read(1), 1);
    EXPECT_EQ(sizes(file_op::read), (sizes_list{1, 4096}));
    EXPECT_EQ(read(4000), 4000);
    EXPECT_EQ(sizes(file_op::read), sizes_list());
    EXPECT_EQ(read(9000), 9000);
    EXPECT_EQ(sizes(file_op::read), (sizes_list{9000 - 96, 4096}));
    EXPECT_EQ(file.tell(), 13001) << "the logical position";
    EXPECT_EQ(read(7999), 6999);
    EXPECT_EQ(sizes(file_op::read), sizes_list{7999}) << "a short read is the end, no more is asked";
    EXPECT_EQ(all, content);
    EXPECT_EQ(read(1), 0);
}

TEST_F(file_stream_test, sync_forgets_and_a_flush_keeps) {
    const std::string data(4096, 'k');
    open("");
    // Partly written: the rest stays for another try.
    EXPECT_EQ(file.write("0123456789", 10), 10);
    disk::cut_write(4);
    EXPECT_EQ(file.write(data.data(), 4096), 0);
    EXPECT_EQ(disk::bytes(path), "0123");
    disk::fail_call(1, 112, file_op::write);
    EXPECT_EQ(file.write(data.data(), 4096), 0);
    EXPECT_EQ(file.last_error, 112u);
    disk::fail_call(1, 112, file_op::write);
    disk::clear_log();
    EXPECT_EQ(file.read(out, 1), 0);
    EXPECT_EQ(sizes(file_op::read), sizes_list()) << "nothing is read while what waits can't be written";
    EXPECT_EQ(file.read(out, 1), 0) << "the end of the file, behind what has been flushed now";
    EXPECT_EQ(disk::bytes(path), "0123456789");

    EXPECT_EQ(file.write("abcdef", 6), 6);
    disk::cut_write(2);
    EXPECT_FALSE(file.sync());
    EXPECT_TRUE(file.sync()) << "the rest is forgotten";
    EXPECT_EQ(disk::bytes(path), "0123456789ab");
    EXPECT_EQ(file.write("x", 1), 1);
    EXPECT_EQ(file.tell(), 13);
    EXPECT_EQ(disk::bytes(path), "0123456789abx");

    EXPECT_EQ(file.write("y", 1), 1);
    disk::fail_call(1, 5, file_op::write);
    EXPECT_FALSE(file.set_end()) << "cuts nothing off when what waited couldn't be written";
    EXPECT_EQ(file.seek(2, 0), 2);
    EXPECT_TRUE(file.set_end());
    EXPECT_EQ(disk::bytes(path), "01");
}

TEST_F(file_stream_test, reading_and_writing_share_one_buffer) {
    open("one\ntwo\nthree\n");
    std::string line;
    ASSERT_TRUE(file.read_line(line));
    EXPECT_EQ(file.seek(0, 1), 4);
    EXPECT_EQ(file.write("TWO", 3), 3);
    ASSERT_TRUE(file.read_line(line)) << "what waits is written before anything is read";
    EXPECT_EQ(line, "");
    ASSERT_TRUE(file.read_line(line));
    EXPECT_EQ(line, "three");
    EXPECT_EQ(disk::bytes(path), "one\nTWO\nthree\n");

    file.seek(0, 0);
    EXPECT_EQ(file.read(out, 1), 1);
    EXPECT_EQ(file.write("!", 1), 1);
    EXPECT_TRUE(file.sync());
    EXPECT_EQ(disk::bytes(path), "one\nTWO\nthree\n!")
        << "without a sync the read-ahead is behind the position";

    file.seek(-1, 2);
    EXPECT_EQ(file.write("#", 1), 1);
    disk::fail_call(1, 5, file_op::write);
    EXPECT_FALSE(file.read_line(line));
    EXPECT_TRUE(file.sync());
    EXPECT_EQ(disk::bytes(path), "one\nTWO\nthree\n#") << "the failed flush has kept it";
    EXPECT_EQ(file.write("+", 1), 1);
    EXPECT_TRUE(file.close());
    EXPECT_EQ(disk::bytes(path), "one\nTWO\nthree\n#+");
}

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
