#include "text.h"

static BOOLEAN is_blank(WCHAR c) {
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

BOOLEAN next_word(text_reader* reader, word* found) {
    while (reader->at < reader->end && is_blank(*reader->at))
        ++reader->at;
    found->text = reader->at;
    while (reader->at < reader->end && !is_blank(*reader->at))
        ++reader->at;
    found->length = (SIZE_T)(reader->at - found->text);
    return found->length != 0;
}

BOOLEAN word_is(const word* w, const char* text) {
    SIZE_T i = 0;
    for (; i < w->length && text[i] != 0; ++i)
        if (w->text[i] != (WCHAR)(UCHAR)text[i])
            return FALSE;
    return i == w->length && text[i] == 0;
}

static ULONG digit_value(WCHAR c) {
    if (c >= L'0' && c <= L'9')
        return (ULONG)(c - L'0');
    if (c >= L'a' && c <= L'f')
        return (ULONG)(c - L'a') + 10;
    if (c >= L'A' && c <= L'F')
        return (ULONG)(c - L'A') + 10;
    return 16;
}

BOOLEAN word_number(const word* w, ULONG64 limit, ULONG64* value) {
    const BOOLEAN hex = w->length > 2 && w->text[0] == L'0' && (w->text[1] == L'x' || w->text[1] == L'X');
    const ULONG base = hex ? 16 : 10;
    ULONG64 number = 0;
    if (w->length == 0)
        return FALSE;
    for (SIZE_T i = hex ? 2 : 0; i < w->length; ++i) {
        const ULONG digit = digit_value(w->text[i]);
        if (digit >= base || digit > limit || number > (limit - digit) / base)
            return FALSE;
        number = number * base + digit;
    }
    *value = number;
    return TRUE;
}

void write_char(text_writer* w, WCHAR c) {
    if (w->length < w->capacity)
        w->out[w->length] = c;
    ++w->length;
}

void write_ascii(text_writer* w, const char* text) {
    for (; *text != 0; ++text)
        write_char(w, (WCHAR)(UCHAR)*text);
}

void write_word(text_writer* w, const word* text) {
    for (SIZE_T i = 0; i < text->length; ++i)
        write_char(w, text->text[i]);
}

void write_decimal(text_writer* w, ULONG64 value) {
    char digits[21];
    int at = 20;
    digits[at] = 0;
    do {
        digits[--at] = (char)('0' + (int)(value % 10));
        value /= 10;
    } while (value != 0);
    write_ascii(w, digits + at);
}

void write_hex(text_writer* w, ULONG64 value, int digits) {
    int count = digits < 1 ? 1 : digits;
    while (count < 16 && (value >> (4 * count)) != 0)
        ++count;
    while (count-- > 0)
        write_char(w, (WCHAR) "0123456789abcdef"[(value >> (4 * count)) & 15]);
}
