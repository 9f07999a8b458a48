/* The driver's control device as its user-mode clients see it. Shared with the driver: plain C11 and C++.
   All integers are little-endian. */
#ifndef VFL_CONTRACTS_PROTOCOL_H
#define VFL_CONTRACTS_PROTOCOL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define VFL_CHECK(what) static_assert(what, #what)
#else
#define VFL_CHECK(what) _Static_assert(what, #what)
#endif

/* The device's name; its path is "\\.\" in front of it. */
#define VFL_DEVICE_NAME L"VEXAFLOW$D"

/* Device type 0x8000, buffered method, any access; functions 0x806 and 0x80B. */
#define VFL_TEXT_COMMAND_IOCTL 0x80002018u
#define VFL_BIN_COMMAND_IOCTL 0x8000202Cu

/* Text channel: UTF-16 both ways, no header, no terminator in the request. The reply ends at its first NUL or
   at the reported byte count. */

/* Binary channel: a request record goes in, bytes come out. A reply buffer that is too small is refused with
   ERROR_INSUFFICIENT_BUFFER. */
#define VFL_REQUEST_MAGIC 0x6A09E667u
#define VFL_REQUEST_VERSION 1u
#define VFL_REQUEST_SELECTOR 0xFFFFFFFFu
#define VFL_COMMAND_NOP 3u
#define VFL_COMMAND_CONNECTIONS 5u

typedef struct vfl_request {
    uint32_t magic;    /* VFL_REQUEST_MAGIC */
    uint32_t version;  /* VFL_REQUEST_VERSION */
    uint32_t selector; /* VFL_REQUEST_SELECTOR */
    uint32_t command;  /* VFL_COMMAND_... */
} vfl_request;

VFL_CHECK(sizeof(vfl_request) == 16);
VFL_CHECK(offsetof(vfl_request, magic) == 0);
VFL_CHECK(offsetof(vfl_request, version) == 4);
VFL_CHECK(offsetof(vfl_request, selector) == 8);
VFL_CHECK(offsetof(vfl_request, command) == 12);

/* A request of a command that takes an argument. */
typedef struct vfl_request_arg {
    vfl_request head;
    uint32_t argument; /* VFL_COMMAND_CONNECTIONS: 1 when the client will ask again, 0 for a single listing */
} vfl_request_arg;

VFL_CHECK(sizeof(vfl_request_arg) == 20);
VFL_CHECK(offsetof(vfl_request_arg, head) == 0);
VFL_CHECK(offsetof(vfl_request_arg, argument) == 16);

/* The reply to VFL_COMMAND_CONNECTIONS, without gaps: header, records, narrow pool, wide pool. A pool entry
   is a uint32_t length in bytes, that many bytes of text without terminator, and padding to a multiple of 4
   that the length doesn't count. Narrow text is in the ANSI code page, wide text in UTF-16. */
#define VFL_SNAPSHOT_MAGIC 0xF3BCC908u
#define VFL_SNAPSHOT_VERSION 1u
#define VFL_SNAPSHOT_PARTIAL 1u /* bit 0 of clock_and_flags: the block only adds to what the reader knows */

typedef struct vfl_snapshot_header {
    uint32_t magic;       /* VFL_SNAPSHOT_MAGIC */
    uint32_t version;     /* VFL_SNAPSHOT_VERSION */
    uint32_t header_word; /* copied unread into every entry that the block touches */
    uint32_t reserved;
    uint32_t rate_scale; /* divisor of the rates of a record, not 0 */
    uint32_t record_count;
    uint32_t narrow_count; /* entries of the narrow pool */
    uint32_t wide_count;   /* entries of the wide pool */
    uint64_t driver_time;  /* the driver's present time, ms on its own clock */
    uint64_t tx_line_rate; /* reference rate for transmit percentages */
    uint64_t rx_line_rate; /* reference rate for receive percentages */
    /* VFL_SNAPSHOT_PARTIAL; the reader puts its time (s since 1970) into bits 1 to 63 */
    uint64_t clock_and_flags;
} vfl_snapshot_header;

VFL_CHECK(sizeof(vfl_snapshot_header) == 64);
VFL_CHECK(offsetof(vfl_snapshot_header, magic) == 0);
VFL_CHECK(offsetof(vfl_snapshot_header, version) == 4);
VFL_CHECK(offsetof(vfl_snapshot_header, header_word) == 8);
VFL_CHECK(offsetof(vfl_snapshot_header, reserved) == 12);
VFL_CHECK(offsetof(vfl_snapshot_header, rate_scale) == 16);
VFL_CHECK(offsetof(vfl_snapshot_header, record_count) == 20);
VFL_CHECK(offsetof(vfl_snapshot_header, narrow_count) == 24);
VFL_CHECK(offsetof(vfl_snapshot_header, wide_count) == 28);
VFL_CHECK(offsetof(vfl_snapshot_header, driver_time) == 32);
VFL_CHECK(offsetof(vfl_snapshot_header, tx_line_rate) == 40);
VFL_CHECK(offsetof(vfl_snapshot_header, rx_line_rate) == 48);
VFL_CHECK(offsetof(vfl_snapshot_header, clock_and_flags) == 56);

#define VFL_PROTOCOL_TCP 0x80u /* bit 7 of protocol: TCP, else UDP; bits 0 to 6: layer-7 protocol number */
#define VFL_STATE_CLOSED 0x01u /* bit 0 of state */

typedef struct vfl_connection_record {
    uint8_t remote_address[16]; /* IPv6, network order; IPv4 as mapped address */
    uint8_t local_address[16];
    uint16_t remote_port; /* plain number, not network order */
    uint16_t local_port;
    uint8_t protocol; /* VFL_PROTOCOL_TCP and the layer-7 number */
    uint8_t state;    /* VFL_STATE_CLOSED */
    uint8_t reserved[2];
    uint64_t id; /* unique key */
    uint64_t tx_bytes;
    uint64_t rx_bytes;
    uint64_t tx_rate; /* times 2^20, divided by rate_scale, gives the displayed rate */
    uint64_t rx_rate;
    uint64_t start_time;  /* ms on the clock of driver_time, and not later than that */
    uint32_t rtt;         /* shown with three decimal places */
    uint32_t program;     /* index into the wide pool */
    uint32_t data;        /* index into the narrow pool */
    uint32_t class_now;   /* index into the wide pool */
    uint32_t class_other; /* index into the wide pool */
    uint32_t hostname;    /* index into the narrow pool */
} vfl_connection_record;

VFL_CHECK(sizeof(vfl_connection_record) == 112);
VFL_CHECK(offsetof(vfl_connection_record, remote_address) == 0);
VFL_CHECK(offsetof(vfl_connection_record, local_address) == 16);
VFL_CHECK(offsetof(vfl_connection_record, remote_port) == 32);
VFL_CHECK(offsetof(vfl_connection_record, local_port) == 34);
VFL_CHECK(offsetof(vfl_connection_record, protocol) == 36);
VFL_CHECK(offsetof(vfl_connection_record, state) == 37);
VFL_CHECK(offsetof(vfl_connection_record, reserved) == 38);
VFL_CHECK(offsetof(vfl_connection_record, id) == 40);
VFL_CHECK(offsetof(vfl_connection_record, tx_bytes) == 48);
VFL_CHECK(offsetof(vfl_connection_record, rx_bytes) == 56);
VFL_CHECK(offsetof(vfl_connection_record, tx_rate) == 64);
VFL_CHECK(offsetof(vfl_connection_record, rx_rate) == 72);
VFL_CHECK(offsetof(vfl_connection_record, start_time) == 80);
VFL_CHECK(offsetof(vfl_connection_record, rtt) == 88);
VFL_CHECK(offsetof(vfl_connection_record, program) == 92);
VFL_CHECK(offsetof(vfl_connection_record, data) == 96);
VFL_CHECK(offsetof(vfl_connection_record, class_now) == 100);
VFL_CHECK(offsetof(vfl_connection_record, class_other) == 104);
VFL_CHECK(offsetof(vfl_connection_record, hostname) == 108);

#endif
