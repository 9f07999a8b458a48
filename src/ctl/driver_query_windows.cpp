#include "ctl/driver_query.hpp"

#include "contracts/protocol.h"
#include "driver/bin_command.hpp"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <windows.h>

namespace vfl::ctl {

namespace {

constexpr std::size_t first_reply_bytes = 0x40000;

// Shared with the thread, which may outlive the caller's patience.
struct request {
    std::mutex lock;
    std::condition_variable done;
    bool is_done = false;
    driver_answer answer;
};

driver_answer ask(std::uint32_t command) {
    driver_answer answer;
    const cl::os::device_handle device = cl::os::open_device(L"\\\\.\\" VFL_DEVICE_NAME);
    if (device == cl::os::invalid_device) {
        answer.open_error = GetLastError();
        return answer;
    }
    const vfl_request_arg arg{{VFL_REQUEST_MAGIC, VFL_REQUEST_VERSION, VFL_REQUEST_SELECTOR, command}, 0};
    const std::size_t size = command == VFL_COMMAND_NOP ? sizeof arg.head : sizeof arg;
    LARGE_INTEGER frequency, begin, end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begin);
    std::uint32_t returned = 0;
    answer.reply.resize(first_reply_bytes);
    answer.end =
        ioctl_bin_command(device, VFL_BIN_COMMAND_IOCTL, &arg, size, answer.reply, returned, false, false);
    QueryPerformanceCounter(&end);
    answer.ms =
        static_cast<double>(end.QuadPart - begin.QuadPart) * 1000 / static_cast<double>(frequency.QuadPart);
    answer.reply.resize(answer.end.done ? std::min<std::size_t>(returned, answer.reply.size()) : 0);
    cl::os::close_device(device);
    return answer;
}

} // namespace

driver_answer ask_driver(std::uint32_t command) {
    const auto shared = std::make_shared<request>();
    std::thread([shared, command] {
        driver_answer answer = ask(command);
        const std::lock_guard guard(shared->lock);
        shared->answer = std::move(answer);
        shared->is_done = true;
        shared->done.notify_one();
    }).detach();
    std::unique_lock guard(shared->lock);
    if (shared->done.wait_for(guard, std::chrono::milliseconds(driver_wait_ms),
                              [&] { return shared->is_done; }))
        return std::move(shared->answer);
    driver_answer late;
    late.timed_out = true;
    return late;
}

} // namespace vfl::ctl
