// Where formatted text goes: a string of the formatter's own, a fixed buffer, or the caller's string.
#include "cl/format/format.hpp"

#include <algorithm>
#include <cstring>

namespace cl {

namespace {

// What fits of n characters; the last place before `end` stays for the terminator.
std::size_t fitting(const char* pos, const char* end, std::size_t n) {
    return pos < end ? std::min(n, static_cast<std::size_t>(end - pos) - 1) : 0;
}

void append_fill(char*& pos, char* end, char c, int count) {
    if (count <= 0)
        return;
    const std::size_t n = fitting(pos, end, static_cast<std::size_t>(count));
    if (n != 0)
        std::memset(pos, c, n);
    pos += n;
}

void append_text(char*& pos, char* end, const char* text, std::size_t n) {
    n = fitting(pos, end, n);
    if (n != 0)
        std::memcpy(pos, text, n);
    pos += n;
}

} // namespace

template <class Ch>
basic_format<Ch>::basic_format(const Ch* format) {
    this->scan_format(format);
}

template <class Ch>
void basic_format<Ch>::put_fill(Ch c, int count) {
    if (count > 0)
        text_.append(static_cast<std::size_t>(count), c);
}

template <class Ch>
void basic_format<Ch>::put_text(const Ch* text, std::size_t n) {
    text_.append(text, n);
}

template <class Ch>
std::basic_string<Ch> basic_format<Ch>::result() const {
    return text_;
}

template class basic_format<char>;
template class basic_format<wchar_t>;

basic_sformat<char>::basic_sformat(char* buf, std::size_t size, const char* format)
    : pos_(buf), end_(buf + size) {
    scan_format(format);
}

basic_sformat<char>::~basic_sformat() {
    finish();
    if (pos_ < end_)
        *pos_ = 0;
}

void basic_sformat<char>::put_fill(char c, int count) {
    append_fill(pos_, end_, c, count);
}

void basic_sformat<char>::put_text(const char* text, std::size_t n) {
    append_text(pos_, end_, text, n);
}

std::string basic_sformat<char>::result() const {
    return {};
}

basic_spformat<char>::basic_spformat(char** cursor, char* end, const char* format)
    : cursor_(cursor), end_(end) {
    scan_format(format);
}

basic_spformat<char>::~basic_spformat() {
    finish();
    if (*cursor_ < end_)
        **cursor_ = 0;
}

void basic_spformat<char>::put_fill(char c, int count) {
    append_fill(*cursor_, end_, c, count);
}

void basic_spformat<char>::put_text(const char* text, std::size_t n) {
    append_text(*cursor_, end_, text, n);
}

std::string basic_spformat<char>::result() const {
    return {};
}

basic_strformat<char>::basic_strformat(std::string& out) : out_(&out) {}

basic_strformat<char>::basic_strformat(std::string& out, const char* format) : out_(&out) {
    scan_format(format);
}

basic_strformat<char>::~basic_strformat() {
    finish();
}

void basic_strformat<char>::set_format(const char* format) {
    scan_format(format);
}

void basic_strformat<char>::put_fill(char c, int count) {
    if (count > 0)
        out_->append(static_cast<std::size_t>(count), c);
}

void basic_strformat<char>::put_text(const char* text, std::size_t n) {
    out_->append(text, n);
}

std::string basic_strformat<char>::result() const {
    return {};
}

} // namespace cl
