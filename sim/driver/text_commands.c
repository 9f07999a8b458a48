#include "commands.h"
#include "request_log.h"

/* What a command works with: the rest of its words, the settings (locked), and the reply. */
typedef struct context {
    text_reader words;
    settings* current;
    text_writer reply;
} context;

typedef void (*command_function)(context* c);

typedef struct command {
    const char* name;
    const char* help;
    command_function run;
    BOOLEAN leaves_no_trace;
} command;

static void help(context* c);

static void usage(context* c, const char* text) {
    write_ascii(&c->reply, "expected: ");
    write_ascii(&c->reply, text);
    write_ascii(&c->reply, "\n");
}

static BOOLEAN read_number(context* c, ULONG64 limit, ULONG64* value) {
    word w;
    return next_word(&c->words, &w) && word_number(&w, limit, value);
}

static void status(context* c) {
    static const char* const modes[] = {"auto", "complete", "partial"};
    const settings* s = c->current;
    write_ascii(&c->reply, "VexaFlow stand-in driver, 'help' lists its commands\nconnections ");
    write_decimal(&c->reply, s->connections);
    write_ascii(&c->reply, "\nblocks ");
    write_ascii(&c->reply, modes[s->blocks]);
    write_ascii(&c->reply, s->clock_stopped ? "\nclock stopped at " : "\nclock running at ");
    write_decimal(&c->reply, simulation_time(s));
    write_ascii(&c->reply, "\npending ");
    if (s->pending)
        write_decimal(&c->reply, s->pending_ms);
    else
        write_ascii(&c->reply, "off");
    write_ascii(&c->reply, "\norder text ");
    write_fault(&c->reply, &s->text_fault);
    write_ascii(&c->reply, "\norder bin ");
    write_fault(&c->reply, &s->bin_fault);
    write_ascii(&c->reply, "\n");
}

static void reset(context* c) {
    settings_reset(c->current);
    write_ascii(&c->reply, "ok\n");
}

static void connections(context* c) {
    ULONG64 n;
    if (!read_number(c, MAX_CONNECTIONS, &n)) {
        usage(c, "connections 0..100000");
        return;
    }
    c->current->connections = (ULONG)n;
    write_ascii(&c->reply, "ok\n");
}

static void blocks(context* c) {
    word w;
    const BOOLEAN given = next_word(&c->words, &w);
    if (given && word_is(&w, "auto"))
        c->current->blocks = blocks_auto;
    else if (given && word_is(&w, "complete"))
        c->current->blocks = blocks_complete;
    else if (given && word_is(&w, "partial"))
        c->current->blocks = blocks_partial;
    else {
        usage(c, "blocks auto|complete|partial");
        return;
    }
    write_ascii(&c->reply, "ok\n");
}

static void clock_command(context* c) {
    word w;
    ULONG64 ms;
    const BOOLEAN given = next_word(&c->words, &w);
    if (given && word_is(&w, "run")) {
        c->current->clock_stopped = FALSE;
    } else if (given && word_number(&w, 1000ull * 86400 * 365, &ms)) {
        c->current->clock_stopped = TRUE;
        c->current->clock_ms = ms;
    } else {
        usage(c, "clock MS|run, at most a year");
        return;
    }
    write_ascii(&c->reply, "ok\n");
}

static void pending(context* c) {
    word w;
    ULONG64 ms;
    const BOOLEAN given = next_word(&c->words, &w);
    if (given && word_is(&w, "off")) {
        c->current->pending = FALSE;
    } else if (given && word_number(&w, MAX_PENDING_MS, &ms)) {
        c->current->pending = TRUE;
        c->current->pending_ms = (ULONG)ms;
    } else {
        usage(c, "pending 0..60000|off");
        return;
    }
    write_ascii(&c->reply, "ok\n");
}

static void order(context* c) {
    word w;
    fault f;
    const SIZE_T before = c->reply.length;
    const BOOLEAN given = next_word(&c->words, &w);
    const BOOLEAN text = given && word_is(&w, "text");
    if (!text && !(given && word_is(&w, "bin"))) {
        usage(c, "order text|bin FAULT");
        return;
    }
    if (!parse_fault(&c->words, &f, &c->reply)) {
        if (c->reply.length == before)
            usage(c, "order text|bin FAULT");
        return;
    }
    if (text && f.kind == fault_block) {
        write_ascii(&c->reply, "a text request has no block\n");
        return;
    }
    if (text)
        c->current->text_fault = f;
    else
        c->current->bin_fault = f;
    write_ascii(&c->reply, "ok\n");
}

static void log_command(context* c) {
    word w;
    ULONG64 count = LOG_ENTRIES;
    if (next_word(&c->words, &w)) {
        if (word_is(&w, "clear")) {
            log_clear();
            write_ascii(&c->reply, "ok\n");
            return;
        }
        if (!word_number(&w, MAXULONG, &count)) {
            usage(c, "log [COUNT|clear]");
            return;
        }
    }
    log_write(&c->reply, (ULONG)count);
}

static void last(context* c) {
    log_write_last_text(&c->reply);
}

static void echo(context* c) {
    /* One blank after the command's word is dropped; the rest is the text. */
    if (c->words.at < c->words.end)
        ++c->words.at;
    const word rest = {c->words.at, (SIZE_T)(c->words.end - c->words.at)};
    write_word(&c->reply, &rest);
}

static const command commands[] = {
    {"help", "help                      this list", help, FALSE},
    {"status", "status                    the settings; also the empty command", status, FALSE},
    {"reset", "reset                     the settings as after loading", reset, FALSE},
    {"connections", "connections N             how many there are, at most 100000", connections, FALSE},
    {"blocks",
     "blocks auto|complete|partial\n"
     "                            which snapshots are complete",
     blocks, FALSE},
    {"clock", "clock MS|run              stops the simulation there, or lets it run", clock_command, FALSE},
    {"pending", "pending MS|off            completes all requests from a timer, or at once", pending, FALSE},
    {"order",
     "order text FAULT          for the next text request\n"
     "  order bin FAULT           for all binary requests until the next order",
     order, FALSE},
    {"log",
     "log [COUNT]               the last requests, oldest first\n"
     "  log clear",
     log_command, TRUE},
    {"last", "last                      the last text command as it came", last, TRUE},
    {"echo", "echo TEXT                 the text as it came", echo, FALSE},
};

static void help(context* c) {
    write_ascii(&c->reply, "Commands:\n");
    for (SIZE_T i = 0; i < RTL_NUMBER_OF(commands); ++i) {
        write_ascii(&c->reply, "  ");
        write_ascii(&c->reply, commands[i].help);
        write_ascii(&c->reply, "\n");
    }
    write_ascii(&c->reply, "  FAULT                     happens to this very command\n");
    write_fault_help(&c->reply);
}

static const command* find_command(const word* name) {
    for (SIZE_T i = 0; i < RTL_NUMBER_OF(commands); ++i)
        if (word_is(name, commands[i].name))
            return &commands[i];
    return NULL;
}

/* With the settings locked. TRUE when the outcome is settled without the text in c->reply. */
static BOOLEAN run_command(const request* r, context* c, outcome* result, BOOLEAN* trace) {
    const text_reader start = c->words;
    text_reader again = start;
    word name;
    const fault ordered = c->current->text_fault;
    c->current->text_fault.kind = fault_none;
    if (apply_fault(&ordered, TRUE, r->output, r->out_size, result))
        return TRUE;
    if (!next_word(&c->words, &name)) {
        status(c);
        return FALSE;
    }
    const command* found = find_command(&name);
    if (found) {
        *trace = !found->leaves_no_trace;
        found->run(c);
        return FALSE;
    }
    fault own;
    if (parse_fault(&again, &own, &c->reply) && own.kind != fault_none && own.kind != fault_block) {
        if (apply_fault(&own, TRUE, r->output, r->out_size, result))
            return TRUE;
        write_ascii(&c->reply, "ok\n");
    } else if (c->reply.length == 0) {
        write_ascii(&c->reply, "unknown command '");
        write_word(&c->reply, &name);
        write_ascii(&c->reply, "', 'help' lists the commands\n");
    }
    return FALSE;
}

BOOLEAN text_command(const request* r, outcome* result) {
    BOOLEAN trace = TRUE;
    context c;
    RtlZeroMemory(result, sizeof *result);
    if (r->in_size % sizeof(WCHAR) != 0 || r->in_size > LOG_INPUT_MAX) {
        result->status = STATUS_INVALID_BUFFER_SIZE;
        return TRUE;
    }
    c.words.at = (const WCHAR*)(const void*)r->input;
    c.words.end = c.words.at + r->in_size / sizeof(WCHAR);
    c.reply.out = r->output;
    c.reply.capacity = r->out_size / sizeof(WCHAR);
    c.reply.length = 0;
    c.current = settings_lock();
    const BOOLEAN settled = run_command(r, &c, result, &trace);
    settings_unlock();
    if (!settled) {
        if (c.reply.length > c.reply.capacity)
            result->status = STATUS_BUFFER_TOO_SMALL;
        else
            result->information = c.reply.length * sizeof(WCHAR);
    }
    return trace;
}
