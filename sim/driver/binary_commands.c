#include "broken_blocks.h"
#include "commands.h"
#include "snapshot.h"

#include "contracts/protocol.h"

/* The answer to VFL_COMMAND_NOP. Clients only show its bytes. */
typedef struct nop_reply {
    ULONG tag; /* "VXFL" */
    ULONG version;
    ULONG64 now; /* time of the simulation, ms */
    ULONG connections;
    ULONG max_connections;
} nop_reply;

static void nop(const request* r, const settings* s, outcome* result) {
    const nop_reply reply = {0x4c465856u, 1, simulation_time(s), s->connections, MAX_CONNECTIONS};
    if (r->out_size < sizeof reply) {
        result->status = STATUS_BUFFER_TOO_SMALL;
        return;
    }
    RtlCopyMemory(r->output, &reply, sizeof reply);
    result->information = sizeof reply;
}

static void connections(const request* r, const settings* s, outcome* result) {
    /* The count of this client's blocks belongs to its open file; the first block is always complete. */
    volatile LONG64* passes = (volatile LONG64*)&r->file->FsContext;
    vfl_request_arg asked;
    snapshot_plan plan;
    RtlCopyMemory(&asked, r->input, sizeof asked);
    RtlZeroMemory(&plan, sizeof plan);
    plan.now = simulation_time(s);
    plan.connections = s->connections;
    plan.pass = (ULONG)*passes;
    plan.partial = s->blocks == blocks_partial ||
                   (s->blocks == blocks_auto && asked.argument != 0 && plan.pass % 5 != 0);
    plan_snapshot(&plan);
    if (r->out_size < plan.size) {
        result->status = STATUS_BUFFER_TOO_SMALL;
        return;
    }
    InterlockedIncrement64(passes);
    build_snapshot(&plan, r->output);
    result->information =
        s->bin_fault.kind == fault_block ? break_block(s->bin_fault.block, &plan, r->output) : plan.size;
}

void binary_command(const request* r, const settings* s, outcome* result) {
    vfl_request head;
    RtlZeroMemory(result, sizeof *result);
    if (apply_fault(&s->bin_fault, FALSE, r->output, r->out_size, result))
        return;
    if (r->in_size < sizeof head) {
        result->status = STATUS_INFO_LENGTH_MISMATCH;
        return;
    }
    RtlCopyMemory(&head, r->input, sizeof head);
    if (head.magic != VFL_REQUEST_MAGIC || head.selector != VFL_REQUEST_SELECTOR)
        result->status = STATUS_INVALID_PARAMETER;
    else if (head.version != VFL_REQUEST_VERSION)
        result->status = STATUS_REVISION_MISMATCH;
    else if (head.command == VFL_COMMAND_NOP)
        nop(r, s, result);
    else if (head.command != VFL_COMMAND_CONNECTIONS)
        result->status = STATUS_NOT_IMPLEMENTED;
    else if (r->in_size < sizeof(vfl_request_arg))
        result->status = STATUS_INFO_LENGTH_MISMATCH;
    else
        connections(r, s, result);
}
