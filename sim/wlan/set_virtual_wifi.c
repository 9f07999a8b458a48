/* Writes the settings of the hosted network, the passphrase protected as the service reads it:
     set_virtual_wifi on SSID     bring the network back after sleep. Other users can see a command line, so
   the passphrase is asked for, without echo; where standard input is no console, it is one line of that
     set_virtual_wifi off         leave it off; the other settings stay
   Needs the right to write below HKEY_LOCAL_MACHINE. Exit code 0, or 1 with a line on standard error. */
#include "contracts/registry_values.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <windows.h>

#include <dpapi.h>

enum {
    shortest = 8,
    longest = 63,
    ssid_limit = 32,
    line_room = longest + 3 /* a line end has two characters */
};

static int fail(const char* what, unsigned long error) {
    fprintf(stderr, "%s: error %lu\n", what, error);
    return 1;
}

static LSTATUS put(HKEY key, const wchar_t* name, DWORD type, const void* data, size_t size) {
    return RegSetValueExW(key, name, 0, type, data, (DWORD)size);
}

/* Protects the clear text for every account of this machine and stores it in hexadecimal. */
static int put_passphrase(HKEY key, char* clear) {
    char entropy[] = VFL_WIFI_ENTROPY;
    DATA_BLOB in = {(DWORD)strlen(clear), (BYTE*)clear};
    DATA_BLOB salt = {sizeof entropy - 1, (BYTE*)entropy};
    DATA_BLOB out;
    if (!CryptProtectData(&in, NULL, &salt, NULL, NULL, CRYPTPROTECT_LOCAL_MACHINE, &out))
        return fail("CryptProtectData", GetLastError());
    const size_t digits = 2 * (size_t)out.cbData;
    wchar_t* const text = malloc((digits + 1) * sizeof *text);
    if (!text)
        return fail("the passphrase", ERROR_OUTOFMEMORY);
    for (size_t i = 0; i < digits; ++i)
        text[i] = L"0123456789ABCDEF"[i % 2 ? out.pbData[i / 2] & 15 : out.pbData[i / 2] >> 4];
    text[digits] = 0;
    const LSTATUS error = put(key, VFL_WIFI_PASSWORD, REG_SZ, text, (digits + 1) * sizeof *text);
    free(text);
    LocalFree(out.pbData);
    return error ? fail("the passphrase", (unsigned long)error) : 0;
}

static void read_line(char* line) {
    if (!fgets(line, line_room, stdin))
        line[0] = 0;
    line[strcspn(line, "\r\n")] = 0;
}

/* A character that isn't ASCII becomes one that no passphrase has. */
static void read_console(HANDLE console, char* line) {
    wchar_t text[line_room];
    DWORD length = 0;
    if (!ReadConsoleW(console, text, line_room - 1, &length, NULL))
        length = 0;
    for (DWORD i = 0; i < length; ++i)
        line[i] = text[i] < 0x80 ? (char)text[i] : '\x7F';
    line[length] = 0;
    line[strcspn(line, "\r\n")] = 0;
    SecureZeroMemory(text, sizeof text);
}

/* Asks twice, since nobody sees what he types. */
static const char* ask(HANDLE console, DWORD mode, char* line) {
    char again[line_room];
    SetConsoleMode(console, mode & ~(DWORD)ENABLE_ECHO_INPUT);
    fputs("Passphrase: ", stderr);
    read_console(console, line);
    fputs("\nAgain: ", stderr);
    read_console(console, again);
    fputs("\n", stderr);
    SetConsoleMode(console, mode);
    const int differs = strcmp(line, again);
    SecureZeroMemory(again, sizeof again);
    return differs ? "the two passphrases differ" : NULL;
}

/* What is wrong with the passphrase, or null. */
static const char* read_passphrase(char* line) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode;
    const int at_console = GetConsoleMode(input, &mode);
    setvbuf(stdin, NULL, _IONBF, 0); /* no buffer keeps the passphrase */
    const char* wrong = NULL;
    if (at_console)
        wrong = ask(input, mode, line);
    else
        read_line(line);
    const size_t length = strlen(line);
    if (!wrong && (length < shortest || length > longest))
        wrong = "a passphrase has 8 to 63 characters";
    if (!wrong && !at_console && line[length - 1] == ' ')
        wrong =
            "the passphrase ends in a blank; in \"echo TEXT | ...\" the blank before the bar belongs to TEXT";
    for (const char* c = line; !wrong && *c; ++c)
        if (*c < ' ' || *c > '~')
            wrong = "a passphrase is printable ASCII";
    return wrong;
}

static int switch_on(HKEY key, const wchar_t* ssid) {
    char line[line_room];
    const int ssid_bytes = WideCharToMultiByte(CP_ACP, 0, ssid, -1, NULL, 0, NULL, NULL) - 1;
    if (ssid_bytes < 1 || ssid_bytes > ssid_limit) {
        fprintf(stderr, "an SSID has 1 to %d bytes\n", ssid_limit);
        return 1;
    }
    int failed = 1;
    const char* const wrong = read_passphrase(line);
    if (wrong) {
        fprintf(stderr, "%s\n", wrong);
    } else {
        const LSTATUS error = put(key, VFL_WIFI_SSID, REG_SZ, ssid, (wcslen(ssid) + 1) * sizeof *ssid);
        failed = error ? fail("the SSID", (unsigned long)error) : put_passphrase(key, line);
    }
    SecureZeroMemory(line, sizeof line);
    return failed;
}

int wmain(int count, wchar_t** words) {
    const int on = count == 3 && wcscmp(words[1], L"on") == 0;
    if (!on && !(count == 2 && wcscmp(words[1], L"off") == 0)) {
        fprintf(stderr, "set_virtual_wifi on SSID  (asks for the passphrase)\nset_virtual_wifi off\n");
        return 1;
    }
    HKEY key;
    LSTATUS error = RegCreateKeyExW(HKEY_LOCAL_MACHINE, VFL_WIFI_KEY, 0, NULL, 0,
                                    KEY_SET_VALUE | KEY_WOW64_64KEY, NULL, &key, NULL);
    if (error)
        return fail("the registry key", (unsigned long)error);
    int failed = on ? switch_on(key, words[2]) : 0;
    /* Last, so that the network never comes back with only half of the new settings. */
    const DWORD value = (DWORD)on;
    if (!failed && (error = put(key, VFL_WIFI_AUTOSTART, REG_DWORD, &value, sizeof value)))
        failed = fail("the autostart", (unsigned long)error);
    RegCloseKey(key);
    return failed;
}
