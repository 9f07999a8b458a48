// Where formatted text goes: a string of the formatter's own, a fixed buffer, or the caller's string. The
// engine fills their windows by itself; the slots here are what it calls when a window has no room, and what
// a derived class calls from its own.
#include "cl/format/format.hpp"

#include <algorithm>
#include <cstring>

namespace cl {

namespace {

// What fits of n characters; the last place before `end` stays for the terminator.
std::size_t fitting(const char* pos, const char* end, std::size_t n) {
    return pos < end ? std::min(n, static_cast<std::size_t>(end - pos) - 1) : 0;
}

char* append_fill(char* pos, const char* end, char c, int count) {
    const std::size_t n = fitting(pos, end, static_cast<std::size_t>(std::max(count, 0)));
    return n == 0 ? pos : static_cast<char*>(std::memset(pos, c, n)) + n;
}

char* append_text(char* pos, const char* end, const char* text, std::size_t n) {
    n = fitting(pos, end, n);
    return n == 0 ? pos : static_cast<char*>(std::memcpy(pos, text, n)) + n;
}

} // namespace

template <class Ch>
void basic_format<Ch>::spill() {
    text_.append(local_, static_cast<std::size_t>(this->position() - local_));
    this->set_position(local_);
}

template <class Ch>
void basic_format<Ch>::put_fill(Ch c, int count) {
    if (count <= 0)
        return;
    spill();
    text_.append(static_cast<std::size_t>(count), c);
}

template <class Ch>
void basic_format<Ch>::put_text(const Ch* text, std::size_t n) {
    spill();
    text_.append(text, n);
}

template <class Ch>
std::basic_string<Ch> basic_format<Ch>::result() const {
    const auto local = static_cast<std::size_t>(this->position() - local_);
    if (text_.empty())
        return std::basic_string<Ch>(local_, local);
    std::basic_string<Ch> all;
    all.reserve(text_.size() + local);
    all.append(text_).append(local_, local);
    return all;
}

template class basic_format<char>;
template class basic_format<wchar_t>;

void basic_sformat<char>::put_fill(char c, int count) {
    set_position(append_fill(position(), end_, c, count));
}

void basic_sformat<char>::put_text(const char* text, std::size_t n) {
    set_position(append_text(position(), end_, text, n));
}

std::string basic_sformat<char>::result() const {
    return {};
}

// With no room there is no window: the caller may move the cursor back, and only the slots know where the
// terminator goes.
basic_spformat<char>::basic_spformat(char** cursor, char* end, const char* format)
    : format_base(*cursor < end ? typeid(basic_spformat) : typeid(void), cursor, end - (*cursor < end)),
      cursor_(cursor), end_(end) {
    scan_format(format);
}

basic_spformat<char>::~basic_spformat() {
    finish();
    if (*cursor_ < end_)
        **cursor_ = 0;
}

void basic_spformat<char>::put_fill(char c, int count) {
    *cursor_ = append_fill(*cursor_, end_, c, count);
}

void basic_spformat<char>::put_text(const char* text, std::size_t n) {
    *cursor_ = append_text(*cursor_, end_, text, n);
}

std::string basic_spformat<char>::result() const {
    return {};
}

basic_strformat<char>::basic_strformat(std::string& out)
    : format_base(typeid(basic_strformat), stage_, stage_ + sizeof stage_, true), out_(&out) {}

basic_strformat<char>::basic_strformat(std::string& out, const char* format) : basic_strformat(out) {
    scan_format(format);
}

basic_strformat<char>::~basic_strformat() {
    finish();
}

void basic_strformat<char>::set_format(const char* format) {
    scan_format(format);
}

void basic_strformat<char>::put_fill(char c, int count) {
    basic_strformat::put_text(nullptr, 0);
    if (count > 0)
        out_->append(static_cast<std::size_t>(count), c);
}

void basic_strformat<char>::put_text(const char* text, std::size_t n) {
    out_->append(stage_, static_cast<std::size_t>(position() - stage_));
    set_position(stage_);
    if (n != 0)
        out_->append(text, n);
}

std::string basic_strformat<char>::result() const {
    return {};
}

} // namespace cl
