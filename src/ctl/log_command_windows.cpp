#include "ctl/commands.hpp"
#include "ctl/local_time.hpp"
#include "ctl/log_selection.hpp"
#include "ctl/log_source.hpp"
#include "product/locations.hpp"
#include "product/names.hpp"

#include <windows.h>

namespace vfl::ctl {

namespace {

constexpr std::uint32_t poll_ms = 500;
constexpr std::size_t piece_chars = 0x40000; // written at once

constinit HANDLE stop_event = nullptr;

BOOL WINAPI on_control(DWORD) {
    SetEvent(stop_event);
    return TRUE;
}

bool missing(std::uint32_t error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

std::wstring reading_error(const std::wstring& path, std::uint32_t error, bool own = true) {
    std::wstring text = L"vflctl: can't read " + shown(path) + L" (error " + std::to_wstring(error) + L")";
    if (missing(error))
        text +=
            own ? L"; there is no log yet, or \"trace\" is 0 in the settings" : L"; there is no such file";
    else if (error == ERROR_ACCESS_DENIED)
        text += L"; it is a folder, or it needs an administrator's console";
    else if (error == ERROR_SHARING_VIOLATION)
        text += L"; another program holds it";
    return text + L"\n";
}

// The lines that are to be shown, in pieces.
class printer {
public:
    printer(output& out, const log_selection& selection) : out_(out), selection_(selection) {
        std::size_t width = 0;
        console_ = out.is_console(stream::out, width);
    }

    void put(const log_text& log, const std::vector<std::size_t>& lines) {
        for (const std::size_t i : lines) {
            const log_line& line = log.lines[i];
            if (selection_.form == log_form::text)
                text_ += shown_line(log, line, selection_);
            else if (selection_.form == log_form::raw &&
                     console_) // whose controls are not for the log to move
                text_ += shown(line_text(whole_line(log, line))) + L"\n";
            else
                bytes_ += selection_.form == log_form::raw ? raw_line(log, line)
                                                           : json_line(log, line, utc_offset_minutes);
            if (text_.size() + bytes_.size() > piece_chars)
                flush();
        }
        flush();
    }

private:
    void flush() {
        if (!text_.empty())
            out_.put(stream::out, text_);
        if (!bytes_.empty())
            out_.put_bytes(bytes_);
        text_.clear();
        bytes_.clear();
    }

    output& out_;
    const log_selection& selection_;
    bool console_ = false;
    std::wstring text_;
    std::string bytes_;
};

void follow(product_log& files, const file_reading& from, std::size_t runs, const log_selection& given,
            output& out) {
    log_selection selection = given;
    selection.run = log_selection::all_runs;
    selection.last = std::numeric_limits<std::size_t>::max();
    stop_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(on_control, TRUE);
    log_follower follower(files);
    follower.begin(from);
    printer print(out, selection);
    // A log that isn't there is waited for: after each rotation there is none until the next line.
    bool said = false;
    while (WaitForSingleObject(stop_event, poll_ms) == WAIT_TIMEOUT) {
        const log_follower::step step = follower.next();
        if (step.error != 0 && !missing(step.error) && !said)
            out.put(stream::err, reading_error(files.current_path, step.error));
        said = step.error != 0 && !missing(step.error);
        if (step.gap)
            out.put(stream::err, L"vflctl: lines are missing here: the log was rotated more than once\n");
        if (step.bytes.empty())
            continue;
        log_text log = read_log({{step.bytes, to_local(step.last_write)}}, {});
        const auto before = static_cast<std::int32_t>(runs) - (log.lines.front().banner ? 0 : 1);
        for (log_line& line : log.lines)
            line.run += std::max(before, 0);
        runs = static_cast<std::size_t>(log.lines.back().run);
        print.put(log, select_lines(log, selection));
    }
}

} // namespace

int run_log(const arguments& args, output& out) {
    auto [selection, error] = read_selection(args);
    const std::vector<std::wstring> given = args.values(L"--file");
    std::optional<std::int64_t> last_day;
    if (const auto day = args.value(L"--day"); day && error.empty()) {
        last_day = parse_day(*day);
        if (!last_day)
            error = L"vflctl: --day can't be \"" + *day + L"\"; it is YYYY-MM-DD. See vflctl log --help\n";
    }
    if (error.empty() && args.has(L"-f") && given.size() > 1)
        error = L"vflctl: -f follows one file alone. See vflctl log --help\n";
    if (!error.empty()) {
        out.put(stream::err, error);
        return exit_usage;
    }
    std::optional<message_page> page;
    if (args.has(L"--explain"))
        selection.page = &page.emplace(message_page_resource());

    product_log files;
    log_reading reading;
    if (given.empty()) {
        const std::wstring folder = data_folder(product_word);
        files = product_log_in(folder);
        reading = read_product_log(files);
        if (reading.old_error != 0)
            out.put(stream::err, reading_error(files.old_path, reading.old_error));
    } else {
        for (const std::wstring& path : std::span(given).first(given.size() - 1)) {
            file_reading older = read_shared(path, {}, 0);
            if (older.error != 0) {
                out.put(stream::err, reading_error(path, older.error, false));
                return exit_failed;
            }
            reading.parts.push_back({std::move(older.bytes), to_local(older.last_write)});
        }
        files.current_path = given.back();
        add_current(files, reading);
    }
    std::vector<log_part>& parts = reading.parts;
    const file_reading& current = reading.current;
    if (current.error != 0 && (parts.empty() || !given.empty()) && !args.has(L"-f")) {
        out.put(stream::err, reading_error(files.current_path, current.error, given.empty()));
        return exit_failed;
    }
    if (last_day && !parts.empty()) {
        // The day alone is known: noon and the line's own time of day are less than half a day apart, or the
        // day itself decides.
        const log_text alone = read_log({parts.back()}, {});
        if (!alone.lines.empty())
            parts.back().last_write = *last_day * day_ms + alone.lines.back().time_of_day;
    }
    // A line that is still being written is shown when it is whole.
    if (args.has(L"-f") && current.error == 0)
        parts.back().bytes.resize(parts.back().bytes.rfind('\n') + 1);
    const log_text log = read_log(parts, reading.process_start);
    const std::vector<std::size_t> lines = select_lines(log, selection);
    if (selection.run != log_selection::all_runs && selection.run > log.runs) {
        out.put(stream::err, L"vflctl: there is no run " + std::to_wstring(selection.run) +
                                 L"; the last is " + std::to_wstring(log.runs) + L"\n");
        return exit_failed;
    }
    printer(out, selection).put(log, lines);
    bool uncertain = false;
    for (const std::size_t i : lines)
        uncertain = uncertain || !log.lines[i].certain;
    if (uncertain && selection.form == log_form::text)
        out.put(stream::err, L"vflctl: the log has no dates; a day with ~ is the latest possible\n");
    if (args.has(L"-f"))
        follow(files, current, log.runs, selection, out);
    return exit_done;
}

} // namespace vfl::ctl
