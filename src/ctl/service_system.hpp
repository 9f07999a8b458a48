// The service as the Service Control Manager knows it, and what can be done to it. One thread at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vfl::ctl {

// The numbers are those of Windows.
inline constexpr std::uint32_t state_stopped = 1, state_start_pending = 2, state_stop_pending = 3,
                               state_running = 4;
inline constexpr std::uint32_t start_automatic = 2, start_manual = 3, start_disabled = 4;

struct service_facts {
    std::uint32_t error = 0; // with which the service couldn't be asked; 1060: it isn't installed
    std::uint32_t state = 0;
    std::uint32_t process_id = 0;               // 0 when it doesn't run
    std::uint32_t exit_code = 0;                // of the last run
    std::optional<std::uint64_t> process_start; // file time; nothing when the process may not be asked
    // The configuration; start_type is 0 when it may not be read.
    std::uint32_t start_type = 0;
    std::wstring program; // command line
    std::wstring account;
};

class service_system {
public:
    virtual service_facts query() = 0;
    // 0, or the error with which the manager refused.
    virtual std::uint32_t start() = 0;
    virtual std::uint32_t stop() = 0;
    // Names of the running services that depend on this one.
    virtual std::vector<std::wstring> dependents() = 0;
    // Keeps the present process in sight, so that its end can be waited for whatever becomes of its number.
    // False when there is none or it may not be waited for.
    virtual bool watch_process() = 0;
    // Whether the watched process has ended, after at most that many ms.
    virtual bool process_ended(std::uint32_t wait_ms) = 0;

protected:
    ~service_system() = default;
};

class live_service final : public service_system {
public:
    live_service() = default;
    ~live_service();
    live_service(const live_service&) = delete;
    live_service& operator=(const live_service&) = delete;
    service_facts query() override;
    std::uint32_t start() override;
    std::uint32_t stop() override;
    std::vector<std::wstring> dependents() override;
    bool watch_process() override;
    bool process_ended(std::uint32_t wait_ms) override;

private:
    void* process_ = nullptr; // a HANDLE
};

} // namespace vfl::ctl
