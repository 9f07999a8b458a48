// The format engine: a type-safe printf without an argument list. A formatter is created on a format string;
// arguments are inserted one at a time, each is rendered at once, and the literal text after it, as far as
// the next directive, is in the target when the insertion returns:
//
//     std::string line = (cl::basic_format<char>("error %?, ret=%?\n") << code << text).str();
//
// A directive is %[flags][width][.precision][~digits][size]letter:
//   flags    ' ' '+' sign place, '#' alternative form, ''' grouping, ',' fixed point (an integer scaled by
//            10^precision), '-' left-aligned, '0' padded with zeros
//   width, precision, digits   numbers, or '*' for "the next integer argument"
//   size     h l ll L I64, accepted and ignored: the argument's type decides
//   letter   ? or i: the way the type prints; d u x X p o decimal, hexadecimal, pointer, octal; z Z base 36;
//            m base 64; c a character; every other letter prints text as text and an integer in signed
//            decimal
// "%%" is a percent sign.
//
// Nothing fails: a mismatch of letter and argument gives odd text, an argument too many is appended, a
// directive without an argument is dropped by finish(), and a full buffer truncates. Only a string that grows
// can throw, on lack of memory. A formatter belongs to one thread; the engine shares no state and takes no
// lock.
//
// Traps: a text under x, X or p prints its address. '*' takes the low byte of its integer as a signed number:
// 200 is -56, a width of 56 left-aligned. Widths, precisions and digits in the format itself are 8 bits and
// wrap: %259? is %3?. '~' counts only under ',', and ~20 or more cuts nothing, because no integer is as long.
#pragma once

#include "cl/format/directive.hpp"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace cl {

template <class Ch>
class format_base;

namespace detail {
template <class Ch>
struct number_printer;
}

// A type prints through format_value(format_base<char>&, const T&), found by argument-dependent lookup. It
// ends in one call of an entry (arg32, arg64, arg_text or arg_wtext).
template <class Ch, class T>
concept formattable_value = requires(format_base<Ch>& f, const T& v) {
    format_value(f, v);
};

template <class T>
concept formattable_integer = std::integral<T> && sizeof(T) <= 8;

// The engine. A target derives from it and defines the three slots; derived classes may override them
// further. A slot may throw: what it was called for counts as written, and finish() goes on after that.
template <class Ch>
class format_base {
    static_assert(std::same_as<Ch, char> || std::same_as<Ch, wchar_t>);

public:
    // As the length of a text: it ends at its terminating zero.
    static constexpr std::size_t to_zero = static_cast<std::size_t>(-1);

    format_base(const format_base&) = delete;
    format_base& operator=(const format_base&) = delete;

    // Appends c `count` times. Literal characters of the format come here one at a time.
    virtual void put_fill(Ch c, int count) = 0;
    // Appends n characters.
    virtual void put_text(const Ch* text, std::size_t n) = 0;
    // The text that the object itself holds, as a new string; empty where the target is the caller's.
    virtual std::basic_string<Ch> result() const = 0;

    // Integers, each by its own width: a 16-bit 0xFFFF prints as 65535, ffff under %x and -1 under %d.
    // Character types are integers as well; a wchar_t is an unsigned UTF-16 unit on every system.
    template <formattable_integer T>
    format_base& operator<<(T value) {
        if constexpr (std::same_as<T, bool>) {
            return arg32(value, value, 'u');
        } else if constexpr (std::same_as<T, wchar_t>) {
            return *this << static_cast<std::uint16_t>(value);
        } else {
            const auto s = static_cast<std::make_signed_t<T>>(value);
            const auto u = static_cast<std::make_unsigned_t<T>>(value);
            constexpr char letter = std::is_signed_v<T> ? 'd' : 'u';
            if constexpr (sizeof(T) == 8)
                return arg64(s, u, letter);
            else
                return arg32(s, u, letter);
        }
    }

    // Text. A null pointer, like any below 4096, prints as "(null)"; an empty view prints as nothing. With a
    // precision an unterminated text is read no further than that. Wide text in a narrow formatter is
    // converted to the ANSI code page; there is no way back.
    template <class T = Ch>
    requires std::same_as<T, char> format_base& operator<<(const char* text) {
        return arg_text(text, to_zero, true);
    }
    template <class T = Ch>
    requires std::same_as<T, char> format_base& operator<<(const std::string& text) {
        return arg_text(text.data(), text.size(), true);
    }
    template <class T = Ch>
    requires std::same_as<T, char> format_base& operator<<(std::string_view text) {
        return arg_text(text.data(), text.size(), false);
    }
    format_base& operator<<(const wchar_t* text) { return arg_wtext(text, to_zero, true); }
    format_base& operator<<(const std::wstring& text) { return arg_wtext(text.data(), text.size(), true); }
    format_base& operator<<(std::wstring_view text) { return arg_wtext(text.data(), text.size(), false); }

    // Values with a format_value of their own.
    template <class T>
    requires formattable_value<Ch, T> format_base& operator<<(const T& value) {
        format_value(*this, value);
        return *this;
    }

    // The entries after the insertions. `signed_form` is the argument sign-extended from its own width,
    // `unsigned_form` the same bits zero-extended; `default_letter` is what %? means.
    format_base& arg32(std::int32_t signed_form, std::uint32_t unsigned_form, char default_letter) {
        return arg64(signed_form, unsigned_form, default_letter);
    }
    format_base& arg64(std::int64_t signed_form, std::uint64_t unsigned_form, char default_letter) {
        return default_letter == 'd' || default_letter == 'u'
                   ? decimal(signed_form, unsigned_form, default_letter)
                   : full_number(signed_form, unsigned_form, default_letter);
    }
    // n characters, or to_zero. Without `null_word` a null pointer prints as nothing.
    template <class T = Ch>
    requires std::same_as<T, char> format_base& arg_text(const char* text, std::size_t n, bool null_word) {
        return own_text(text, n, null_word);
    }
    format_base& arg_wtext(const wchar_t* text, std::size_t n, bool null_word);

    // Closes a format for which fewer arguments came than it has directives: the directive that waits is
    // dropped, the text after it goes out, and of every later directive the letter stays.
    void finish() {
        if (!at_end)
            finish_rest();
    }

    // finish(), then the text. The object is not used further.
    std::basic_string<Ch> str();

    // What the directive that waits says; for format_value, whose flags may choose a form.
    bool is_alt() const { return (d.flags & detail::flag_alt) != 0; }
    bool is_zero_filled() const { return d.fill == '0'; }

protected:
    // Every text goes through the slots.
    format_base() = default;
    // The shipped targets lend a window: memory of theirs that may be written without a call of a slot. It
    // counts while the object is of the type `owner` itself, so that a derived class sees every text in its
    // slots. The position is what `at` points to, the last character goes before `limit`; with no room
    // left, the slots are called. A staged window is emptied by put_text at the end of each insertion.
    format_base(const std::type_info& owner, Ch* first, Ch* limit, bool staged)
        : staged_(staged), limit_(limit), owner_(&owner), pos_(first) {}
    format_base(const std::type_info& owner, Ch** at, Ch* limit) : limit_(limit), owner_(&owner), at_(at) {}
    ~format_base() = default;

    // Points at a new format and scans as far as its first directive. Nothing of the directive that the old
    // one waits with is reset.
    void scan_format(const Ch* format);

    // The write position of a window that the target itself keeps.
    Ch* position() const { return pos_; }
    void set_position(Ch* p) { pos_ = p; }

private:
    friend struct detail::number_printer<Ch>;

    // The window as one call of the engine sees it; without room where every text must go through the slots.
    struct window {
        Ch* out;
        Ch* limit;
        std::ptrdiff_t room() const { return limit - out; }
    };

    static constexpr Ch no_text[1] = {};

    window open() const {
        Ch* out = *at_;
        return {out, &typeid(*this) == owner_ ? limit_ : out};
    }
    window slot_fill(window w, Ch c, int count);
    window slot_text(window w, const Ch* text, std::size_t n);
    window slot_literal(window w, const Ch* f);
    window fill_in(window w, Ch c, int count);
    window text_in(window w, const Ch* text, std::size_t n);
    template <bool Slots>
    format_base& scan(const Ch* f, window w);
    format_base& scan_slots(const Ch* f, window w);
    bool take_short_directive();
    format_base& settle(window w);
    format_base& next(window w);

    bool takes_address(const void* text);
    format_base& own_text(const Ch* text, std::size_t n, bool null_word);
    window emit_text(window w, const Ch* text, std::size_t n);

    format_base& decimal(std::int64_t signed_form, std::uint64_t unsigned_form, char default_letter);
    format_base& full_number(std::int64_t signed_form, std::uint64_t unsigned_form, char default_letter);
    void finish_rest();

    detail::directive<Ch> d; // the directive that waits for its argument
    bool at_end = true;      // there is none
    bool staged_ = false;
    const Ch* fmt = no_text; // on its letter, or on the terminating zero

    Ch* limit_ = nullptr;
    const std::type_info* owner_ = nullptr;
    Ch* pos_ = nullptr;
    Ch** at_ = &pos_;
};

extern template class format_base<char>;
extern template class format_base<wchar_t>;

// Builds a string of its own; str() gives it out. Its destructor doesn't finish the format.
template <class Ch>
class basic_format : public format_base<Ch> {
public:
    explicit basic_format(const Ch* format)
        : format_base<Ch>(typeid(basic_format), local_, local_ + local_size, false) {
        this->scan_format(format);
    }

    void put_fill(Ch c, int count) override;
    void put_text(const Ch* text, std::size_t n) override;
    std::basic_string<Ch> result() const override;

private:
    // Texts of up to this length need no memory but that of the result.
    static constexpr std::size_t local_size = 256;

    void spill();

    std::basic_string<Ch> text_; // what came before `local_`
    Ch local_[local_size];
};

extern template class basic_format<char>;
extern template class basic_format<wchar_t>;

template <class Ch>
class basic_sformat;
template <class Ch>
class basic_spformat;
template <class Ch>
class basic_strformat;

// Writes into `size` characters at `buf`. What doesn't fit is dropped; the destructor finishes the format and
// always terminates, unless `size` is 0. No heap, except for wide text.
template <>
class basic_sformat<char> : public format_base<char> {
public:
    basic_sformat(char* buf, std::size_t size, const char* format)
        : format_base(typeid(basic_sformat), buf, size == 0 ? buf : buf + size - 1, false), end_(buf + size) {
        scan_format(format);
    }
    ~basic_sformat() {
        finish();
        if (position() < end_)
            *position() = 0;
    }

    void put_fill(char c, int count) override;
    void put_text(const char* text, std::size_t n) override;
    std::string result() const override;

private:
    char* end_;
};

// The same with the write position in the caller: *cursor moves as text is added and ends on the terminator,
// so that the next piece overwrites that. `cursor` outlives the formatter.
template <>
class basic_spformat<char> : public format_base<char> {
public:
    basic_spformat(char** cursor, char* end, const char* format);
    ~basic_spformat();

    void put_fill(char c, int count) override;
    void put_text(const char* text, std::size_t n) override;
    std::string result() const override;

private:
    char** cursor_;
    char* end_;
};

// Appends to the caller's string, which outlives the formatter. The destructor finishes the format.
template <>
class basic_strformat<char> : public format_base<char> {
public:
    // Without a format an argument is appended as if there were too many.
    explicit basic_strformat(std::string& out);
    basic_strformat(std::string& out, const char* format);
    ~basic_strformat();

    // Goes on with a new format. What is unscanned of the old one is dropped without a trace; the settings of
    // a directive that still waits for its argument stay in force.
    void set_format(const char* format);

    void put_fill(char c, int count) override;
    void put_text(const char* text, std::size_t n) override;
    std::string result() const override;

private:
    std::string* out_;
    char stage_[64];
};

} // namespace cl
