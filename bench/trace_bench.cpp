// The log beside spdlog's rotating sink: the same 60-byte lines with the same stamp, to a rotating log in the
// folder given, best one in memory. Prints one line for each case; trace_bench.sh runs them all.
//
//   trace_bench count N             N lines that no flush interrupts, for callgrind
//   trace_bench KIND paced|flat THREADS LINES FOLDER
// KIND: ours64 or ours128 (KiB of flush_at), sync, async.
#include "cl/log/file_trace.hpp"

#include <spdlog/async.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using steady = std::chrono::steady_clock;

constexpr std::size_t line_size = 60;
constexpr std::uint64_t file_limit = 16 << 20; // several generations in each run
constexpr std::size_t generations = 200;       // spdlog keeps them all

double seconds(steady::duration d) {
    return std::chrono::duration<double>(d).count();
}

// "t 00000123 ....\n": the writer's number and the line's.
struct line_text {
    explicit line_text(int thread) {
        std::memset(text, '.', sizeof text);
        std::memcpy(text, "t 00000000 ", 11);
        text[0] = static_cast<char>('a' + thread);
        text[line_size - 1] = '\n';
        text[line_size] = 0;
    }
    void set(std::uint32_t n) {
        for (char* p = text + 9; p != text + 1; --p, n /= 10)
            *p = static_cast<char>('0' + n % 10);
    }
    char text[line_size + 1];
};

class log_under_test {
public:
    virtual ~log_under_test() = default;
    virtual void write(const line_text& line) = 0;
    // Everything is on the disk when it returns.
    virtual void finish() = 0;
};

// Keeps by a second name every generation that a rotation is about to rename or delete.
class keeping_trace : public cl::file_trace {
public:
    keeping_trace(cl::passive_timer* host, fs::path log) : file_trace(host), log_(std::move(log)) {}
    ~keeping_trace() override { shut_down(); }

protected:
    void on_close(cl::mutex_auto&, cl::file_hnd& file) override {
        if (static_cast<std::uint64_t>(file.size()) > file_limit)
            fs::create_hard_link(log_, log_.string() + "." + std::to_string(++kept_));
    }

private:
    fs::path log_;
    int kept_ = 0;
};

class ours : public log_under_test {
public:
    ours(const fs::path& folder, std::int32_t flush_at) : timer_("slow"), trace_(&timer_, folder / "log") {
        trace_.set_path((folder / "log").wstring());
        trace_.set_old_path((folder / "old").wstring(), file_limit);
        trace_.set_buffer(0x40000, 0x1000000, flush_at, true);
        trace_.set_stamps(true, true);
    }
    void write(const line_text& line) override { trace_.write(line.text, true); }
    void finish() override { trace_.finish(); }

private:
    cl::passive_timer timer_;
    keeping_trace trace_;
};

class spd : public log_under_test {
public:
    spd(const fs::path& folder, bool async) {
        auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>((folder / "log").string(),
                                                                           file_limit, generations);
        sink->set_formatter(std::make_unique<spdlog::pattern_formatter>(
            "%H%M%S-%e %v", spdlog::pattern_time_type::local, "\r\n"));
        if (async) {
            pool_ = std::make_shared<spdlog::details::thread_pool>(8192, 1);
            logger_ = std::make_shared<spdlog::async_logger>("log", sink, pool_,
                                                             spdlog::async_overflow_policy::block);
        } else {
            logger_ = std::make_shared<spdlog::logger>("log", sink);
        }
    }
    void write(const line_text& line) override {
        logger_->log(spdlog::level::info, spdlog::string_view_t(line.text, line_size - 1));
    }
    void finish() override {
        logger_->flush();
        logger_.reset();
        pool_.reset();
    }

private:
    std::shared_ptr<spdlog::details::thread_pool> pool_;
    std::shared_ptr<spdlog::logger> logger_;
};

double processor_seconds() {
    rusage r{};
    getrusage(RUSAGE_SELF, &r);
    const auto s = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return s(r.ru_utime) + s(r.ru_stime);
}

// Reads every generation back: each line whole, once, and in its writer's order.
struct found {
    std::size_t lines = 0, torn = 0, marks = 0, disordered = 0;
};
found read_back(const fs::path& folder, std::size_t threads) {
    std::vector<std::pair<std::uint64_t, fs::path>> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        // The generations in the order of writing: ours are log.1, log.2, ..., log; spdlog's ... log.2,
        // log.1, log.
        const std::string name = entry.path().filename().string();
        if (name == "old")
            continue; // it has another name too
        files.emplace_back(name == "log" ? ~std::uint64_t{0} : std::stoull(name.substr(4)), entry.path());
    }
    std::sort(files.begin(), files.end());
    const bool newest_is_lowest = !fs::exists(folder / "old");
    if (newest_is_lowest && files.size() > 1)
        std::reverse(files.begin(), files.end() - 1);
    found f;
    std::vector<std::int64_t> last(threads, -1);
    std::string line;
    for (const auto& [number, path] : files) {
        std::ifstream in(path, std::ios::binary);
        while (std::getline(in, line)) {
            if (line == "\r" || line == "buffer overflow\r") {
                f.marks += line != "\r";
                continue;
            }
            const std::size_t stamp = 11;
            const auto thread = line.size() > stamp ? static_cast<std::size_t>(line[stamp] - 'a') : threads;
            if (line.size() != stamp + line_size || line.back() != '\r' || thread >= threads ||
                line.find_first_not_of('.', stamp + 11) != line.size() - 1) {
                ++f.torn;
                continue;
            }
            const std::int64_t n = std::stoll(line.substr(stamp + 2, 8));
            f.disordered += n <= last[thread];
            last[thread] = n;
            ++f.lines;
        }
    }
    return f;
}

std::unique_ptr<log_under_test> make_log(const std::string& kind, const fs::path& folder) {
    if (kind == "ours64")
        return std::make_unique<ours>(folder, 0x10000);
    if (kind == "ours128")
        return std::make_unique<ours>(folder, 0x20000);
    if (kind == "sync" || kind == "async")
        return std::make_unique<spd>(folder, kind == "async");
    std::fprintf(stderr, "error: no log of the kind '%s'\n", kind.c_str());
    std::exit(2);
}

void run(const std::string& kind, bool paced, std::size_t threads, std::uint32_t lines,
         const fs::path& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    auto log = make_log(kind, folder);
    std::vector<std::vector<std::uint32_t>> times(threads); // ns of each call
    const auto writer = [&](std::size_t thread) {
        line_text line(static_cast<int>(thread));
        auto& mine = times[thread];
        if (paced)
            mine.reserve(lines);
        for (std::uint32_t n = 0; n < lines; ++n) {
            line.set(n);
            if (!paced) {
                log->write(line);
                continue;
            }
            const auto start = steady::now();
            log->write(line);
            mine.push_back(static_cast<std::uint32_t>((steady::now() - start).count()));
            if (n % 20 == 19)
                std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
    };
    const double cpu = processor_seconds();
    const auto start = steady::now();
    std::vector<std::thread> writers;
    for (std::size_t i = 0; i < threads; ++i)
        writers.emplace_back(writer, i);
    for (auto& w : writers)
        w.join();
    log->finish();
    const double wall = seconds(steady::now() - start), used = processor_seconds() - cpu;
    log.reset();

    const found f = read_back(folder, threads);
    const double total = static_cast<double>(lines) * static_cast<double>(threads);
    std::printf("%-8s %-5s %zu thr: ", kind.c_str(), paced ? "paced" : "flat", threads);
    if (paced) {
        std::vector<std::uint32_t> all;
        for (const auto& t : times)
            all.insert(all.end(), t.begin(), t.end());
        std::sort(all.begin(), all.end());
        const auto at = [&](double p) {
            return all[static_cast<std::size_t>(p * static_cast<double>(all.size() - 1))];
        };
        std::printf("p50 %5u p99 %6u p99.9 %7u worst %9u ns, ", at(.5), at(.99), at(.999), at(1));
    } else {
        std::printf("%9.0f lines/s on the disk, %6.0f ns of processor a line, ",
                    static_cast<double>(f.lines) / wall, used / total * 1e9);
    }
    std::printf("%.0f lost, %zu marks, %zu torn, %zu out of order\n", total - static_cast<double>(f.lines),
                f.marks, f.torn, f.disordered);
    fs::remove_all(folder);
}

// Lines that no flush interrupts: the ring holds them all.
void count(std::uint32_t lines) {
    cl::passive_timer timer("slow");
    {
        cl::file_trace trace(&timer);
        trace.set_path(L"/nowhere/log");
        trace.set_buffer(0x1000000, 0x1000000, 0x1000000, true);
        line_text line(0);
        for (std::uint32_t n = 0; n < lines; ++n) {
            line.set(n);
            trace.write(line.text, true);
        }
        trace.discard(true);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 2 && args[0] == "count") {
        count(static_cast<std::uint32_t>(std::stoul(args[1])));
    } else if (args.size() == 5 && (args[1] == "paced" || args[1] == "flat")) {
        run(args[0], args[1] == "paced", std::stoul(args[2]), static_cast<std::uint32_t>(std::stoul(args[3])),
            fs::path(args[4]) / "trace_bench");
    } else {
        std::fprintf(stderr,
                     "error: trace_bench count N | trace_bench KIND paced|flat THREADS LINES FOLDER\n");
        return 2;
    }
}
