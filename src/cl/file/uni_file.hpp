// A text file in one of six encodings, found by its byte order mark when it is opened. The caller deals in
// UTF-16, or in narrow text of the ANSI code page; positions count bytes after the mark.
//
// What can't be decoded becomes '?' or a blank, a sequence that breaks off at the end is the end of the file.
// Reading and writing text keep some state between calls (a pushed-back character, halves of pairs) that only
// a new open clears.
#pragma once

#include "cl/file/file_stream.hpp"
#include "cl/text/encodings.hpp"

namespace cl {

class uni_file : public file_stream {
protected:
    std::uint16_t low_surrogate = 0;  // read, not yet delivered
    std::uint16_t high_surrogate = 0; // to write once its low half comes
public:
    std::uint32_t bom_len = 0; // bytes of the mark, or of the one to write
protected:
    const char* pending_byte = nullptr; // into ansi_char: what get_char still has to deliver of it
    // A character here, beside the byte of file_hnd: read too far after a lone CR, valid with has_pushback
    // of text_flags.
    std::uint16_t pushback = 0;
    enum text_flag_bits : std::uint8_t { has_pushback = 1, skip_bom_at_line_start = 2, skip_bom_always = 4 };
    std::uint8_t text_flags : 3 = skip_bom_at_line_start;

public:
    std::uint32_t encoding = encoding_ansi; // see text_encoding
private:
    char ansi_char[8] = {};

public:
    // A U+FEFF at the start of a line is dropped.
    bool read_line(std::wstring& out) override;
    bool read_line(std::string& out) override;
    // As open_as with UTF-16 little-endian.
    bool open(const std::wstring& path, std::uint32_t flags, std::uint32_t share) override;
    ~uni_file() override;
    // Deliberate: halves of pairs that wait stay where they are.
    std::int64_t seek(std::int64_t offset, std::uint32_t origin) override;
    std::int64_t tell() override;
    bool write_text(const std::wstring& text) override;
    bool write_text(const std::string& text) override;
    bool put_char(wchar_t c) override;
    bool put_char(char c) override;
    bool get_char(wchar_t* out) override;
    // A character of several ANSI bytes is delivered byte by byte.
    bool get_char(char* out) override;
    virtual bool get_wchar(wchar_t* out);
    // A high surrogate of UTF-8 and UTF-32 waits for a low one, over other characters too.
    virtual bool put_wchar(wchar_t c);

    // Opens with `default_encoding` for a file that is empty or opened for writing alone; its mark goes to
    // the disk at once. A file with content and no mark is ANSI, whatever the default.
    bool open_as(const std::wstring& path, std::uint32_t flags, std::uint32_t default_encoding,
                 std::uint32_t share);
    // Finds the encoding of the open file and stands after its mark. False only if the file couldn't be
    // read; nothing is written then.
    bool detect_encoding(std::uint32_t default_encoding);
    // For a new file. False, and no mark, for a value that is no encoding.
    bool set_encoding(std::uint32_t value, bool no_bom);
    // Writes the mark at the start of the file and stands after it.
    bool write_bom();
    // Copies from here to the end of the file, marks included. With rewind_both from the very start over all
    // of dst, which is then cut and ready to read with this file's encoding. False on the first failure; dst
    // then isn't cut.
    //
    // With rewind_both dst is written from the first block on in which the two differ, and up to 1 MiB in one
    // call, so that a process that ends in between leaves the old text or the new one. If dst becomes
    // shorter, blanks cover the rest until it is cut.
    bool copy_to(uni_file& dst, bool rewind_both);
    // Moves the lines from here on to dst that read_line and write_line would move without a change: plain
    // ASCII, CR LF at the end, no white space in front. Ends before the first other line, and before one that
    // begins with `stop`. False if dst took less. Does nothing unless both have the same encoding, ANSI or
    // UTF-8.
    bool pass_lines(uni_file& dst, char stop);
    // The text and CR LF.
    bool write_line(const std::wstring& text);

private:
    bool overwrite(uni_file& dst);
    bool to_start();
    void drop_char_pushback() { text_flags &= skip_bom_at_line_start | skip_bom_always; }
    // True if no subclass changes a slot, so that runs of text may take the short way through the buffer.
    bool is_plain() const;
    bool get_unit(std::uint32_t& unit);
    bool take_buffered_line(std::wstring& out);
    template <class Code>
    bool take_line(std::wstring& out);
    bool put_run(const wchar_t* p, const wchar_t* end);
    template <class Code>
    const wchar_t* put_buffered(const wchar_t* p, const wchar_t* end);
};

} // namespace cl
