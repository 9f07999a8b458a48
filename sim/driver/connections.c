#include "connections.h"

#include "names.h"

#define CLOCK_AT_LOAD 864000000ull /* ten days */

typedef enum behaviour {
    steady,         /* moves bytes all the time, in waves */
    idle,           /* has moved bytes once */
    changing_class, /* another class every four seconds */
    short_lived     /* see SHORT_LIVED_INDEX */
} behaviour;

typedef struct table_entry {
    UCHAR remote[16];
    UCHAR local[16];
    USHORT remote_port;
    USHORT local_port;
    UCHAR protocol;
    UCHAR acts;  /* behaviour */
    ULONG age_s; /* when the driver was loaded */
    ULONG tx;    /* bytes a second on average; of an idle connection, its volume */
    ULONG rx;
    ULONG rtt_us;
    UCHAR program; /* wide_name */
    UCHAR class_now;
    UCHAR class_other;
    UCHAR hostname; /* narrow_name */
    UCHAR data;
} table_entry;

#define TCP VFL_PROTOCOL_TCP
#define V4(a, b, c, d)                                                                                       \
    { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, a, b, c, d }
#define V6(group, last)                                                                                      \
    { 0x20, 0x01, 0x0d, 0xb8, 0, group, 0, 0, 0, 0, 0, 0, 0, 0, 0, last }
#define LOOPBACK                                                                                             \
    { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 }
#define HERE V4(192, 0, 2, 10)
#define HERE_6 V6(1, 0x10)

static const table_entry table[TABLE_CONNECTIONS] = {
    {V4(198, 51, 100, 7), HERE, 443, 49731, TCP | 7, steady, 5, 4200, 182000, 18250, program_browser,
     class_interactive, class_interactive, host_shop, data_page},
    {V6(2, 0x25), HERE_6, 993, 49802, TCP | 12, steady, 3665, 310, 2900, 41020, program_mail, class_normal,
     class_normal, host_mail, data_mail},
    {V4(203, 0, 113, 53), HERE, 53, 61022, 3, steady, 65, 60, 140, 9130, program_system, class_interactive,
     class_interactive, host_dns, data_query},
    {V6(3, 0x77), HERE_6, 3478, 50124, 21, steady, 754, 11800, 12100, 33871, program_voice, class_realtime,
     class_realtime, host_voice, data_call},
    {V4(198, 51, 100, 23), HERE, 8443, 49944, TCP | 7, steady, 125, 940, 1210, 27400, program_size,
     class_normal, class_normal, host_town, data_payment},
    {LOOPBACK, LOOPBACK, 80, 51200, TCP | 7, steady, 12, 88000, 650000, 45, program_music, class_normal,
     class_normal, host_local, name_empty},
    {V4(203, 0, 113, 200), HERE, 27015, 61544, 33, steady, 1830, 9300, 31000, 24688, program_game,
     class_realtime, class_realtime, name_empty, name_empty},
    {V4(198, 51, 100, 90), HERE, 22, 50011, TCP | 2, changing_class, 7322, 2400000, 36000, 11907,
     program_backup, class_bulk, class_normal, host_files, data_backup},
    {V4(203, 0, 113, 5), HERE, 443, 50377, TCP | 7, steady, 31, 1500, 47000, 62110, program_browser,
     class_interactive, class_bulk, host_cafe, name_empty},
    {V6(4, 0x0d), HERE_6, 5222, 49688, TCP | 15, idle, 187200, 20544, 104857, 38002, program_mail,
     class_normal, class_normal, host_chat, data_mail},
    {V4(198, 51, 100, 7), HERE, 443, 50600, TCP | 7, short_lived, 0, 800, 24000, 18300, program_browser,
     class_interactive, class_interactive, host_shop, name_empty},
    {V6(5, 0x91), HERE_6, 443, 55012, 9, changing_class, 402, 21000, 1850000, 14550, program_greek,
     class_normal, class_interactive, host_files, name_empty},
};

ULONG64 driver_clock(ULONG64 now) {
    return CLOCK_AT_LOAD + now;
}

/* Bytes moved in the first `ms` of a wave that averages `rate` bytes a second: eight seconds of eighths. */
static ULONG64 wave_volume(ULONG64 ms, ULONG rate) {
    static const UCHAR eighths[8] = {4, 7, 10, 12, 9, 8, 6, 8};
    const ULONG64 second = ms / 1000;
    ULONG64 sum = second / 8 * 64 * 1000;
    for (ULONG i = 0; i < second % 8; ++i)
        sum += eighths[i] * 1000ull;
    sum += eighths[second % 8] * (ms % 1000);
    return sum * rate / 8000;
}

static ULONG64 volume(ULONG index, ULONG64 age_ms, ULONG rate) {
    const ULONG64 phase = index % 8 * 1000ull;
    return wave_volume(phase + age_ms, rate) - wave_volume(phase, rate);
}

static void move_bytes(ULONG index, ULONG64 age_ms, ULONG tx, ULONG rx, vfl_connection_record* record) {
    const ULONG64 before = age_ms < RATE_WINDOW_MS ? 0 : age_ms - RATE_WINDOW_MS;
    record->tx_bytes = volume(index, age_ms, tx);
    record->rx_bytes = volume(index, age_ms, rx);
    record->tx_rate = record->tx_bytes - volume(index, before, tx);
    record->rx_rate = record->rx_bytes - volume(index, before, rx);
}

static void describe_table_entry(ULONG index, ULONG64 now, vfl_connection_record* record) {
    const table_entry* entry = &table[index];
    ULONG64 age = entry->age_s * 1000ull + now;
    RtlCopyMemory(record->remote_address, entry->remote, sizeof record->remote_address);
    RtlCopyMemory(record->local_address, entry->local, sizeof record->local_address);
    record->remote_port = entry->remote_port;
    record->local_port = entry->local_port;
    record->protocol = entry->protocol;
    record->id = 101 + index;
    record->rtt = entry->rtt_us + (ULONG)((now / 1000 * 7919 + index) % 16) * (entry->rtt_us / 64);
    record->program = entry->program;
    record->class_now = entry->class_now;
    record->class_other = entry->class_other;
    record->hostname = entry->hostname;
    record->data = entry->data;
    if (entry->acts == short_lived) {
        const ULONG64 life = now / 30000;
        age = now % 30000;
        record->id = 1000000 + life;
    }
    record->start_time = driver_clock(now) - age;
    if (entry->acts == changing_class && now / 4000 % 2 == 1)
        record->class_now = entry->class_other;
    if (entry->acts == short_lived && age >= 24000) {
        record->state = VFL_STATE_CLOSED;
        age = 24000;
    }
    if (entry->acts == idle) {
        record->tx_bytes = entry->tx;
        record->rx_bytes = entry->rx;
    } else {
        move_bytes(index, age, entry->tx, entry->rx, record);
    }
}

static void describe_other(ULONG index, ULONG64 now, vfl_connection_record* record) {
    static const UCHAR remote[16] = V6(9, 0);
    static const UCHAR local[16] = HERE_6;
    const ULONG64 age = index % 7200 * 1000ull + now;
    RtlCopyMemory(record->remote_address, remote, sizeof record->remote_address);
    RtlCopyMemory(record->local_address, local, sizeof record->local_address);
    record->remote_address[13] = (UCHAR)(index >> 16);
    record->remote_address[14] = (UCHAR)(index >> 8);
    record->remote_address[15] = (UCHAR)index;
    record->remote_port = index % 2 == 0 ? 443 : 53;
    record->local_port = (USHORT)(49152 + index % 16384);
    record->protocol = (UCHAR)(index % 2 == 0 ? TCP | 7 : 3);
    record->id = 10000ull + index;
    record->start_time = driver_clock(now) - age;
    record->rtt = 1000 + index % 50000;
    record->program = program_many;
    record->class_now = class_bulk;
    record->class_other = index % 5 == 0 ? class_normal : class_bulk;
    move_bytes(index, age, 100 + index * 7 % 5000, 1000 + index * 7919 % 50000, record);
}

void describe_connection(ULONG index, ULONG64 now, vfl_connection_record* record) {
    RtlZeroMemory(record, sizeof *record);
    if (index < TABLE_CONNECTIONS)
        describe_table_entry(index, now, record);
    else
        describe_other(index, now, record);
}
