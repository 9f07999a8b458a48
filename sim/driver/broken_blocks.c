#include "broken_blocks.h"

#include "contracts/protocol.h"

static void put32(UCHAR* at, ULONG value) {
    RtlCopyMemory(at, &value, sizeof value);
}

static void break_indexes(const snapshot_plan* plan, UCHAR* block) {
    for (ULONG i = 0; i < plan->records; ++i) {
        UCHAR* record = block + sizeof(vfl_snapshot_header) + i * sizeof(vfl_connection_record);
        /* Just after the end, and as far away as possible. */
        put32(record + offsetof(vfl_connection_record, program), plan->wide_count);
        put32(record + offsetof(vfl_connection_record, data), MAXULONG);
        put32(record + offsetof(vfl_connection_record, class_now), MAXULONG);
        put32(record + offsetof(vfl_connection_record, class_other), 0x80000000u);
        put32(record + offsetof(vfl_connection_record, hostname), plan->narrow_count);
    }
}

/* The place of the last text of the wide pool. */
static UCHAR* last_wide(const snapshot_plan* plan, UCHAR* block) {
    UCHAR* at = block + plan->wide_at;
    for (ULONG i = 1; i < plan->wide_count; ++i) {
        ULONG bytes;
        RtlCopyMemory(&bytes, at, sizeof bytes);
        at += sizeof bytes + ((bytes + 3) & ~3u);
    }
    return at;
}

ULONG break_block(broken_block kind, const snapshot_plan* plan, UCHAR* block) {
    switch (kind) {
    case broken_short:
        return (ULONG)sizeof(vfl_snapshot_header) + plan->records * (ULONG)sizeof(vfl_connection_record) / 2;
    case broken_magic:
        put32(block + offsetof(vfl_snapshot_header, magic), ~VFL_SNAPSHOT_MAGIC);
        break;
    case broken_version:
        put32(block + offsetof(vfl_snapshot_header, version), VFL_SNAPSHOT_VERSION + 1);
        break;
    case broken_records:
        put32(block + offsetof(vfl_snapshot_header, record_count), MAXULONG);
        break;
    case broken_narrow:
        put32(block + offsetof(vfl_snapshot_header, narrow_count), MAXULONG);
        break;
    case broken_wide:
        put32(block + offsetof(vfl_snapshot_header, wide_count), MAXULONG);
        break;
    case broken_length:
        put32(block + plan->narrow_at, MAXULONG);
        break;
    case broken_end:
        put32(last_wide(plan, block), 0x40000000u);
        break;
    case broken_index:
        break_indexes(plan, block);
        break;
    case broken_scale:
        put32(block + offsetof(vfl_snapshot_header, rate_scale), 0);
        break;
    case broken_line_rate:
        RtlZeroMemory(block + offsetof(vfl_snapshot_header, tx_line_rate), 2 * sizeof(ULONG64));
        break;
    }
    return plan->size;
}
