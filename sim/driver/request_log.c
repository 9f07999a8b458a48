#include "request_log.h"

#include "contracts/protocol.h"

#define POOL_TAG 0x676c5056u /* "VPlg" */

static FAST_MUTEX lock;
static log_entry ring[LOG_ENTRIES];
static ULONG64 next_number = 1;
static ULONG used; /* entries in the ring */

void log_init(void) {
    ExInitializeFastMutex(&lock);
}

void log_destroy(void) {
    log_clear();
}

UCHAR* log_copy_input(const void* input, ULONG size) {
    const ULONG kept = size < LOG_INPUT_MAX ? size : LOG_INPUT_MAX;
    UCHAR* copy = ExAllocatePoolWithTag(PagedPool, kept == 0 ? 1 : kept, POOL_TAG);
    if (copy && kept != 0)
        RtlCopyMemory(copy, input, kept);
    return copy;
}

void log_free_input(UCHAR* input) {
    ExFreePoolWithTag(input, POOL_TAG);
}

static log_entry* entry_of(ULONG64 number) {
    return &ring[number % LOG_ENTRIES];
}

void log_add(const log_entry* entry) {
    UCHAR* old = NULL;
    ExAcquireFastMutex(&lock);
    log_entry* place = entry_of(next_number);
    if (used == LOG_ENTRIES)
        old = place->input;
    else
        ++used;
    *place = *entry;
    place->number = next_number++;
    ExReleaseFastMutex(&lock);
    if (old)
        log_free_input(old);
}

void log_clear(void) {
    ExAcquireFastMutex(&lock);
    for (; used != 0; --used)
        log_free_input(entry_of(next_number - used)->input);
    ExReleaseFastMutex(&lock);
}

static void write_field(text_writer* w, const char* name, ULONG64 value) {
    write_ascii(w, name);
    write_decimal(w, value);
}

static void write_entry(text_writer* w, const log_entry* e) {
    const ULONG kept = e->in_size < LOG_INPUT_MAX ? e->in_size : LOG_INPUT_MAX;
    write_decimal(w, e->number);
    write_ascii(w, " code=0x");
    write_hex(w, e->code, 8);
    write_field(w, " in=", e->in_size);
    write_field(w, " out=", e->out_size);
    write_ascii(w, " status=0x");
    write_hex(w, (ULONG)e->status, 8);
    write_field(w, " returned=", e->information);
    write_ascii(w, e->pending ? " pending" : " at-once");
    write_ascii(w, " input=");
    for (ULONG i = 0; i < kept; ++i)
        write_hex(w, e->input[i], 2);
    write_ascii(w, "\n");
}

void log_write(text_writer* w, ULONG count) {
    ExAcquireFastMutex(&lock);
    for (ULONG left = count < used ? count : used; left != 0; --left)
        write_entry(w, entry_of(next_number - left));
    ExReleaseFastMutex(&lock);
}

void log_write_last_text(text_writer* w) {
    ExAcquireFastMutex(&lock);
    for (ULONG back = 1; back <= used; ++back) {
        const log_entry* e = entry_of(next_number - back);
        if (e->code == VFL_TEXT_COMMAND_IOCTL) {
            const ULONG kept = e->in_size < LOG_INPUT_MAX ? e->in_size : LOG_INPUT_MAX;
            for (ULONG i = 0; i + 1 < kept; i += 2)
                write_char(w, (WCHAR)(e->input[i] | e->input[i + 1] << 8));
            break;
        }
    }
    ExReleaseFastMutex(&lock);
}
