#include "names.h"

const char* const narrow_names[narrow_names_count] = {
    [name_empty] = "",
    [host_shop] = "shop.example.com",
    [host_mail] = "mail.example.org",
    [host_dns] = "ns1.example.net",
    [host_voice] = "voice.example.net",
    [host_town] = "m\xfcnchen.example",
    [host_cafe] = "caf\xe9-5\x80.example",
    [host_files] = "files.example.com",
    [host_chat] = "chat.example.org",
    [host_local] = "localhost",
    [data_page] = "page load",
    [data_mail] = "idle",
    [data_query] = "query",
    [data_call] = "call 17",
    [data_payment] = "\xdc"
                     "berweisung 50 \x80",
    [data_backup] = "backup 3 of 7",
};

const WCHAR* const wide_names[wide_names_count] = {
    [program_browser] = L"browser.exe",
    [program_mail] = L"mail.exe",
    [program_system] = L"svchost.exe",
    [program_voice] = L"voice.exe",
    [program_size] = L"Gr\u00f6\u00dfen\u00fcbersicht.exe",
    [program_music] = L"\u043c\u0443\u0437\u044b\u043a\u0430.exe",
    [program_game] = L"game.exe",
    [program_backup] = L"backup.exe",
    [program_greek] = L"\u03bb\u03cc\u03b3\u03bf\u03c2.exe",
    [program_many] = L"load.exe",
    [class_interactive] = L"interactive",
    [class_normal] = L"normal",
    [class_bulk] = L"bulk",
    [class_realtime] = L"real-time",
};

ULONG narrow_length(const char* text) {
    ULONG n = 0;
    while (text[n] != 0)
        ++n;
    return n;
}

ULONG wide_length(const WCHAR* text) {
    ULONG n = 0;
    while (text[n] != 0)
        ++n;
    return n;
}
