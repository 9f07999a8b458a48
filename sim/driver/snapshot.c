#include "snapshot.h"

#include "connections.h"
#include "names.h"

/* Connections after the table have texts of their own: two narrow pool entries each, of fixed width. The
   zeros are places for the index. */
static const char host_pattern[] = "host-000000.example.net";
static const char data_pattern[] = "flow 000000";
#define HOST_DIGITS_END 11
#define DATA_DIGITS_END 11

static ULONG entry_size(ULONG bytes) {
    return (ULONG)sizeof(ULONG) + ((bytes + 3) & ~3u);
}

/* A partial block has every second connection, in turns, and always the one that comes and goes. */
static BOOLEAN is_in(const snapshot_plan* plan, ULONG index) {
    return !plan->partial || index % 2 == plan->pass % 2 || index == SHORT_LIVED_INDEX;
}

void plan_snapshot(snapshot_plan* plan) {
    ULONG others = 0;
    plan->records = 0;
    for (ULONG i = 0; i < plan->connections; ++i) {
        if (is_in(plan, i)) {
            ++plan->records;
            if (i >= TABLE_CONNECTIONS)
                ++others;
        }
    }
    plan->narrow_count = narrow_names_count + 2 * others;
    plan->wide_count = wide_names_count;
    plan->narrow_at =
        (ULONG)sizeof(vfl_snapshot_header) + plan->records * (ULONG)sizeof(vfl_connection_record);
    plan->wide_at = plan->narrow_at;
    for (ULONG i = 0; i < narrow_names_count; ++i)
        plan->wide_at += entry_size(narrow_length(narrow_names[i]));
    plan->wide_at += others * (entry_size(sizeof host_pattern - 1) + entry_size(sizeof data_pattern - 1));
    plan->size = plan->wide_at;
    for (ULONG i = 0; i < wide_names_count; ++i)
        plan->size += entry_size(wide_length(wide_names[i]) * (ULONG)sizeof(WCHAR));
}

/* Writes a pool entry and returns the place after it. */
static UCHAR* put_entry(UCHAR* at, const void* text, ULONG bytes) {
    const ULONG size = entry_size(bytes);
    RtlZeroMemory(at + size - sizeof(ULONG), sizeof(ULONG)); /* the padding */
    RtlCopyMemory(at, &bytes, sizeof bytes);
    RtlCopyMemory(at + sizeof bytes, text, bytes);
    return at + size;
}

static UCHAR* put_numbered(UCHAR* at, const char* pattern, ULONG bytes, ULONG digits_end, ULONG number) {
    UCHAR* end = put_entry(at, pattern, bytes);
    UCHAR* digit = at + sizeof(ULONG) + digits_end;
    for (; number != 0; number /= 10)
        *--digit = (UCHAR)('0' + number % 10);
    return end;
}

void build_snapshot(const snapshot_plan* plan, UCHAR* out) {
    vfl_snapshot_header header;
    UCHAR* record_at = out + sizeof header;
    UCHAR* at = out + plan->narrow_at;
    ULONG narrow = narrow_names_count;

    RtlZeroMemory(&header, sizeof header);
    header.magic = VFL_SNAPSHOT_MAGIC;
    header.version = VFL_SNAPSHOT_VERSION;
    header.header_word = plan->pass;
    header.rate_scale = RATE_SCALE;
    header.record_count = plan->records;
    header.narrow_count = plan->narrow_count;
    header.wide_count = plan->wide_count;
    header.driver_time = driver_clock(plan->now);
    header.tx_line_rate = 5000000;
    header.rx_line_rate = 12500000;
    header.clock_and_flags = plan->partial ? VFL_SNAPSHOT_PARTIAL : 0;
    RtlCopyMemory(out, &header, sizeof header);

    for (ULONG i = 0; i < narrow_names_count; ++i)
        at = put_entry(at, narrow_names[i], narrow_length(narrow_names[i]));
    for (ULONG i = 0; i < plan->connections; ++i) {
        vfl_connection_record record;
        if (!is_in(plan, i))
            continue;
        describe_connection(i, plan->now, &record);
        if (i >= TABLE_CONNECTIONS) {
            record.hostname = narrow++;
            record.data = narrow++;
            at = put_numbered(at, host_pattern, sizeof host_pattern - 1, HOST_DIGITS_END, i);
            at = put_numbered(at, data_pattern, sizeof data_pattern - 1, DATA_DIGITS_END, i);
        }
        RtlCopyMemory(record_at, &record, sizeof record);
        record_at += sizeof record;
    }
    for (ULONG i = 0; i < wide_names_count; ++i)
        at = put_entry(at, wide_names[i], wide_length(wide_names[i]) * (ULONG)sizeof(WCHAR));
}
