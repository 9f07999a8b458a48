#include "faults.h"

/* Win32 errors that can be ordered by number, and the status that a client sees as each. */
static const struct {
    ULONG error;
    NTSTATUS status;
} statuses[] = {
    {1, STATUS_NOT_IMPLEMENTED},    {2, STATUS_OBJECT_NAME_NOT_FOUND},
    {5, STATUS_ACCESS_DENIED},      {21, STATUS_DEVICE_NOT_READY},
    {31, STATUS_UNSUCCESSFUL},      {50, STATUS_NOT_SUPPORTED},
    {87, STATUS_INVALID_PARAMETER}, {112, STATUS_DISK_FULL},
    {122, STATUS_BUFFER_TOO_SMALL}, {170, STATUS_DEVICE_BUSY},
    {234, STATUS_BUFFER_OVERFLOW},  {995, STATUS_CANCELLED},
    {1117, STATUS_IO_DEVICE_ERROR}, {1450, STATUS_INSUFFICIENT_RESOURCES},
};

static const char* const kinds[] = {"none", "error", "claim", "below", "empty",
                                    "fill", "cut",   "never", "block"};
static const char* const blocks[] = {"short",  "magic", "version", "records", "narrow",   "wide",
                                     "length", "end",   "index",   "scale",   "line-rate"};

/* A Win32 error of the table, or any status that is a warning or an error. */
static BOOLEAN parse_status(const word* w, NTSTATUS* status) {
    ULONG64 number;
    if (!word_number(w, MAXULONG, &number))
        return FALSE;
    for (SIZE_T i = 0; i < RTL_NUMBER_OF(statuses); ++i) {
        if (statuses[i].error == number) {
            *status = statuses[i].status;
            return TRUE;
        }
    }
    *status = (NTSTATUS)(ULONG)number;
    return number >= 0x80000000u;
}

static BOOLEAN parse_bytes(text_reader* reader, ULONG* bytes) {
    word w;
    ULONG64 number;
    if (!next_word(reader, &w) || !word_number(&w, MAXULONG, &number))
        return FALSE;
    *bytes = (ULONG)number;
    return TRUE;
}

static BOOLEAN complain(text_writer* complaint, const char* text) {
    write_ascii(complaint, text);
    return FALSE;
}

BOOLEAN parse_fault(text_reader* reader, fault* result, text_writer* complaint) {
    word w;
    int kind = -1;
    RtlZeroMemory(result, sizeof *result);
    if (!next_word(reader, &w))
        return FALSE;
    for (int i = 0; i < (int)RTL_NUMBER_OF(kinds); ++i)
        if (word_is(&w, kinds[i]))
            kind = i;
    if (kind < 0)
        return FALSE;
    result->kind = (fault_kind)kind;
    if (kind == fault_error || kind == fault_claim) {
        if (!next_word(reader, &w) || !parse_status(&w, &result->status))
            return complain(complaint, "expected a Win32 error that has a status here, or 0x and a status\n");
        /* With a warning the system would copy that many bytes out of a buffer that doesn't hold them. */
        if (kind == fault_claim && !NT_ERROR(result->status))
            return complain(complaint, "expected an error, not a warning\n");
    }
    if ((kind == fault_claim || kind == fault_below || kind == fault_fill) &&
        !parse_bytes(reader, &result->bytes))
        return complain(complaint, "expected a number of bytes\n");
    if (kind == fault_block) {
        if (next_word(reader, &w)) {
            for (int i = 0; i < (int)RTL_NUMBER_OF(blocks); ++i) {
                if (word_is(&w, blocks[i])) {
                    result->block = (broken_block)i;
                    return TRUE;
                }
            }
        }
        return complain(complaint, "expected one of the kinds of broken block, see 'help'\n");
    }
    return TRUE;
}

void write_fault_help(text_writer* w) {
    write_ascii(w, "Faults:\n"
                   "  none                    the proper answer\n"
                   "  error CODE              fails with a Win32 error (");
    for (SIZE_T i = 0; i < RTL_NUMBER_OF(statuses); ++i) {
        write_ascii(w, i == 0 ? "" : " ");
        write_decimal(w, statuses[i].error);
    }
    write_ascii(w, ")\n"
                   "                          or a status (0xC...)\n"
                   "  claim CODE BYTES        fails, pending, and reports BYTES returned bytes\n"
                   "  below BYTES             error 122 while the output buffer is smaller\n"
                   "  empty                   a reply of no bytes\n"
                   "  fill BYTES              a reply of that many bytes\n"
                   "  cut                     the text before, a NUL, the text after\n"
                   "  never                   stays pending until it is cancelled\n"
                   "  block KIND              a broken snapshot:");
    for (SIZE_T i = 0; i < RTL_NUMBER_OF(blocks); ++i) {
        write_ascii(w, i == 6 ? "\n                          " : " ");
        write_ascii(w, blocks[i]);
    }
    write_ascii(w, "\n");
}

void write_fault(text_writer* w, const fault* f) {
    write_ascii(w, kinds[f->kind]);
    if (f->kind == fault_error || f->kind == fault_claim) {
        write_ascii(w, " 0x");
        write_hex(w, (ULONG)f->status, 8);
    }
    if (f->kind == fault_claim || f->kind == fault_below || f->kind == fault_fill) {
        write_ascii(w, " ");
        write_decimal(w, f->bytes);
    }
    if (f->kind == fault_block) {
        write_ascii(w, " ");
        write_ascii(w, blocks[f->block]);
    }
}

static void fill(UCHAR* out, ULONG bytes, BOOLEAN wide) {
    /* 63 digits and a line feed, over and over. */
    for (ULONG i = 0; i < bytes; ++i) {
        const ULONG column = (wide ? i / 2 : i) % 64;
        const UCHAR c = column == 63 ? '\n' : (UCHAR)('0' + column % 10);
        out[i] = wide && i % 2 == 1 ? 0 : c;
    }
}

BOOLEAN apply_fault(const fault* f, BOOLEAN wide, void* out, ULONG out_size, outcome* result) {
    static const WCHAR cut[] = L"before\0after";
    const ULONG cut_size = sizeof cut - sizeof(WCHAR);
    RtlZeroMemory(result, sizeof *result);
    switch (f->kind) {
    case fault_none:
    case fault_block:
        return FALSE;
    case fault_error:
        result->status = f->status;
        return TRUE;
    case fault_claim:
        /* A client learns the count of a failed request only when the request was pending. */
        result->status = f->status;
        result->information = f->bytes;
        result->pending = TRUE;
        return TRUE;
    case fault_below:
        if (out_size >= f->bytes)
            return FALSE;
        result->status = STATUS_BUFFER_TOO_SMALL;
        return TRUE;
    case fault_empty:
        return TRUE;
    case fault_fill:
        if (out_size < f->bytes) {
            result->status = STATUS_BUFFER_TOO_SMALL;
        } else {
            fill(out, f->bytes, wide);
            result->information = f->bytes;
        }
        return TRUE;
    case fault_cut:
        if (out_size < cut_size) {
            result->status = STATUS_BUFFER_TOO_SMALL;
        } else {
            RtlCopyMemory(out, cut, cut_size);
            result->information = cut_size;
        }
        return TRUE;
    case fault_never:
        result->never = TRUE;
        result->status = STATUS_CANCELLED;
        return TRUE;
    }
    return FALSE;
}
