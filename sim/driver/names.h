/* The texts that simulated connections refer to: every block carries these pools, in this order. */
#ifndef SIM_DRIVER_NAMES_H
#define SIM_DRIVER_NAMES_H

#include <ntddk.h>

typedef enum narrow_name { /* host names and free texts, windows-1252 */
                           name_empty,
                           host_shop,
                           host_mail,
                           host_dns,
                           host_voice,
                           host_town, /* with an umlaut */
                           host_cafe, /* with an accent and the euro sign */
                           host_files,
                           host_chat,
                           host_local,
                           data_page,
                           data_mail,
                           data_query,
                           data_call,
                           data_payment, /* with an umlaut and the euro sign */
                           data_backup,
                           narrow_names_count
} narrow_name;

typedef enum wide_name { /* programs and traffic classes, UTF-16 */
                         program_browser,
                         program_mail,
                         program_system,
                         program_voice,
                         program_size,  /* German */
                         program_music, /* Russian */
                         program_game,
                         program_backup,
                         program_greek, /* Greek */
                         program_many,  /* of all connections after the first dozen */
                         class_interactive,
                         class_normal,
                         class_bulk,
                         class_realtime,
                         wide_names_count
} wide_name;

extern const char* const narrow_names[narrow_names_count];
extern const WCHAR* const wide_names[wide_names_count];

/* Lengths in characters. */
ULONG narrow_length(const char* text);
ULONG wide_length(const WCHAR* text);

#endif
