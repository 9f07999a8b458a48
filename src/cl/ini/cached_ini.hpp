// Settings that survive: an INI file that is kept in memory whole. Lookups are served from memory. Edits
// change memory and go to the file a while later, by a timer, all of a burst at once. Other processes and
// people may edit the same file: what they wrote is noticed by its time stamp, and a flush merges key by key.
// A key that only someone else changed keeps their value, one that both changed has the value of the last
// flush.
//
// Any thread may call any slot, except those for a caller that holds `lock`; that caller calls no others, and
// keeps nothing that it found across a call that takes a mutex_auto, which may give the lock up for a while.
// Lookups and edits wait while a load runs, which takes up to about five seconds if others don't let go of
// the file; a flush does all its file work without the lock.
//
// Failures are results, and messages on the trace; memory keeps the latest values. What a flush could not
// bring to the disk once it had begun to write, its space being set aside, counts as written all the same, as
// the trace then reports: it is written again only when it is edited again.
#pragma once

#include "cl/file/file_time.hpp"
#include "cl/ini/ini_file.hpp"
#include "cl/ini/ini_sections.hpp"
#include "cl/time/base_timer.hpp"

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cl {

class cached_ini : public ini_file {
public:
    using pair_list = std::vector<std::pair<std::wstring, std::wstring>>;

    // The timer, on whose thread the delayed flushes run, outlives the object.
    explicit cached_ini(base_timer& timer);

    bool get_value_unlocked(const std::wstring& section, const std::wstring& key,
                            std::wstring& value) override;
    bool get_value(const std::wstring& section, const std::wstring& key, std::wstring& value) override;
    bool get_value_current(const std::wstring& section, const std::wstring& key,
                           std::wstring& value) override;
    // Waits for a flush that runs, flushes to the file of before, then loads the new one. Changes that this
    // flush couldn't write are lost. Like `close`, not for a sink of the trace.
    void set_file(const std::wstring& file_path, bool as_unicode) override;
    bool get_section(const std::wstring& section, std::vector<std::wstring>& lines,
                     std::uint32_t flags) override;
    bool get_section_names(std::vector<std::wstring>& names) override;
    bool get_section_current(const std::wstring& section, std::vector<std::wstring>& lines,
                             std::uint32_t flags) override;
    bool get_section_names_current(std::vector<std::wstring>& names) override;
    // Deliberate: empty sections and deleted ones that are still in the file count.
    bool section_exists(const std::wstring& section) override;
    bool section_exists_current(const std::wstring& section) override;

    // The edits always succeed, and refuse nothing: what ini_file says of "]", "=", ";", "[" and line ends in
    // what a caller gives shows once the file is loaded again. A key that isn't found in the file under the
    // name that it was given, such as one with a "=" inside, is added again by each flush that writes it. So
    // is a section with an empty name, where the file begins with a header: its lines go to the very end,
    // into the last section.
    //
    // Without `schedule` the change waits for the next flush from any cause.
    bool write_value(const std::wstring& section, const std::wstring& key, const std::wstring& value,
                     bool schedule) override;
    bool delete_value(const std::wstring& section, const std::wstring& key) override;
    bool write_section(const std::wstring& section, const std::vector<std::wstring>& lines) override;
    bool delete_section(const std::wstring& section) override;

    // Waits for a flush that runs, then flushes. No other thread may be inside of a call, except the timer's.
    ~cached_ini() override;

    // Brings all changes to the file now. False if there is no file, a flush or load is under way, the file
    // could not be opened or read, the temporary file not be made, or the disk is full; the file is then as
    // it was, and the changes wait in memory for the next edit, flush or reload. The timer's flush is tried
    // again a few times if the open was refused, with an error that may pass by itself.
    bool flush() override;
    // Flushes, then loads the file anew. False if either couldn't be done; memory keeps what it has.
    bool reload() override;
    // Waits for a flush that runs, flushes and lets go of the file: from then on everything happens in memory
    // alone.
    void close() override;

    // For a caller that holds `lock`, or gives its scope.
    virtual bool section_lines_unlocked(const std::wstring& section, std::vector<std::wstring>& lines,
                                        std::uint32_t flags);
    virtual bool section_pairs_unlocked(const std::wstring& section, pair_list& pairs);
    virtual bool section_names_unlocked(std::vector<std::wstring>& names);
    virtual bool flush_unlocked(mutex_auto& scope);
    virtual bool reload_unlocked(mutex_auto& scope);

    // Keys and values of a section, without its comments.
    virtual bool get_section_pairs(const std::wstring& section, pair_list& pairs);
    virtual bool get_section_pairs_current(const std::wstring& section, pair_list& pairs);

private:
    std::unique_ptr<ini_sections> sections; // never null
    // Of the file at the last load or flush, compared for equality only. A flush stores it without the lock.
    std::atomic<packed_time> file_stamp{0};

public:
    mutex lock; // guards all the rest; comes before the timer's

    // To be changed under `lock`. Both in ms.
    std::uint32_t flush_delay = 2000; // from the first change of a burst to the flush; 0: at once
    std::uint32_t check_interval = 0; // least time between two checks of the file's stamp

private:
    struct flush_section;

    void refresh(mutex_auto& scope);
    bool load();
    void check_write_flush(mutex_auto& scope);
    void wait_for_flush(mutex_auto& scope);
    bool write_changes(mutex_auto& scope);
    bool open_for_flush(uni_file& source, uni_file& temp);
    bool write_merged(uni_file& source, uni_file& temp, std::list<ini_section>& snapshot);
    void report_no_temp();
    void arm_flush();
    void flush_by_timer();

    std::uint32_t last_check =
        0;                 // tick of the last check that found the stamp unchanged, or of the last load
    bool dirty = false;    // memory holds changes that no flush has taken yet
    bool flushing = false; // a thread is in a flush, during which the file isn't exchanged
    bool overdue = false;  // a flush was asked for during another
    bool loading = false;
    bool attached = false; // there is a file
    bool alive = true;     // false from the start of the destruction
    timer_handle flush_timer{};
    timer_handle spare_timer{};      // never armed
    std::wstring temp_name;          // of the running flush, which alone may touch it, as the next one
    std::uint32_t refused_opens = 0; // flushes in a row whose open was refused for other reasons than sharing
    base_timer& timer;
};

// The process's settings, over "global.ini" once a mode has attached it.
extern cached_ini global_ini;

} // namespace cl
