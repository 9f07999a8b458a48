/* Faults that a client can order: what a request gets in place of its proper answer. */
#ifndef SIM_DRIVER_FAULTS_H
#define SIM_DRIVER_FAULTS_H

#include "text.h"

#include <ntddk.h>

typedef enum fault_kind {
    fault_none,
    fault_error, /* fails with `status` */
    fault_claim, /* fails with `status` while it reports `bytes` returned bytes */
    fault_below, /* STATUS_BUFFER_TOO_SMALL while the output buffer has less than `bytes` */
    fault_empty, /* succeeds without a byte */
    fault_fill,  /* a reply of `bytes` bytes: rows of digits, as text or as bytes */
    fault_cut,   /* the text "before", a NUL and "after" */
    fault_never, /* stays pending until it is cancelled */
    fault_block  /* a connection snapshot that is broken in the way `block` names */
} fault_kind;

typedef enum broken_block {
    broken_short,    /* the block ends in the middle of its records */
    broken_magic,    /* wrong magic */
    broken_version,  /* wrong version */
    broken_records,  /* announces 0xFFFFFFFF records */
    broken_narrow,   /* announces 0xFFFFFFFF narrow texts */
    broken_wide,     /* announces 0xFFFFFFFF wide texts */
    broken_length,   /* the first narrow text has 0xFFFFFFFF bytes */
    broken_end,      /* the last wide text reaches a gigabyte past the end */
    broken_index,    /* records name texts after the pools' ends */
    broken_scale,    /* rate_scale 0 */
    broken_line_rate /* both reference rates 0 */
} broken_block;

typedef struct fault {
    fault_kind kind;
    NTSTATUS status;
    ULONG bytes;
    broken_block block;
} fault;

/* How a request ends. */
typedef struct outcome {
    NTSTATUS status;
    ULONG_PTR information;
    BOOLEAN never;   /* not before it is cancelled */
    BOOLEAN pending; /* from a timer even if the settings say at once */
} outcome;

/* Reads the words of a fault. FALSE when they name none; `complaint` then holds a line that says why, or
   nothing when the first word is no fault's. */
BOOLEAN parse_fault(text_reader* reader, fault* result, text_writer* complaint);

/* The lines of the help text that explain the faults. */
void write_fault_help(text_writer* w);

/* The words that order this fault. */
void write_fault(text_writer* w, const fault* f);

/* Answers a request with the fault. FALSE when it leaves the request alone (no fault, a buffer that is large
   enough, a broken block, which belongs to the snapshot). `wide` says that the reply is text. */
BOOLEAN apply_fault(const fault* f, BOOLEAN wide, void* out, ULONG out_size, outcome* result);

#endif
