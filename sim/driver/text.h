/* Reading the words of a text command and writing the text of a reply, in UTF-16. */
#ifndef SIM_DRIVER_TEXT_H
#define SIM_DRIVER_TEXT_H

#include <ntddk.h>

/* A piece of a command; not terminated. */
typedef struct word {
    const WCHAR* text;
    SIZE_T length;
} word;

/* What is left to be read of a command. */
typedef struct text_reader {
    const WCHAR* at;
    const WCHAR* end;
} text_reader;

/* Takes the next word: a run of characters other than blank, tab, CR and LF. FALSE at the end of the command.
 */
BOOLEAN next_word(text_reader* reader, word* found);

/* Whether the word is this ASCII text, with exact case. */
BOOLEAN word_is(const word* w, const char* text);

/* Reads a decimal number, or a hexadecimal one after "0x". FALSE when it is no number or above the limit. */
BOOLEAN word_number(const word* w, ULONG64 limit, ULONG64* value);

/* Appends to a buffer. After the buffer's end it goes on counting, so that in the end `length` says what the
   text needed; `capacity` and `length` are in characters. */
typedef struct text_writer {
    WCHAR* out;
    SIZE_T capacity;
    SIZE_T length;
} text_writer;

void write_char(text_writer* w, WCHAR c);
void write_ascii(text_writer* w, const char* text);
void write_word(text_writer* w, const word* text);
void write_decimal(text_writer* w, ULONG64 value);

/* Lower-case hexadecimal with at least that many digits. */
void write_hex(text_writer* w, ULONG64 value, int digits);

#endif
