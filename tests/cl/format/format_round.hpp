// The round of the format engine: integers agree with the model, and any format with any arguments gives the
// same text in every target, cut to its size, and through slots that are called one by one or throw.
#pragma once

#include "choices.hpp"
#include "cl/format/format_args.hpp"
#include "cl/format/format_model.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

// What goes to the slots alone. The call that makes `left` 0 throws and writes nothing.
struct slot_target : cl::format_base<char> {
    explicit slot_target(int calls = -1) : left(calls) {}
    using cl::format_base<char>::scan_format;
    void put_fill(char c, int count) override { put(std::string(static_cast<std::size_t>(count), c)); }
    void put_text(const char* t, std::size_t n) override { put(std::string(t, n)); }
    std::string result() const override { return text; }
    void put(const std::string& more) {
        if (--left == 0)
            throw more;
        text += more;
    }
    std::string text;
    int left;
};

inline directive random_directive(choices& c) {
    directive d;
    for (const char flag : std::string_view("-0#',+ "))
        if (c.once_in(3))
            d.flags += flag;
    d.width = c.once_in(2) ? 0 : c.pick({1, 2, 8, 9, 14, 30, 80, 127});
    d.precision = c.once_in(2) ? -1 : c.pick({0, 1, 2, 3, 9, 19, 20, 63, 127});
    d.sig_digits = c.once_in(2) ? -1 : c.pick({1, 2, 3, 4, 18, 19, 20, 127});
    d.letter = c.pick(std::string_view("???iduxXpozZmcsf"));
    return d;
}

template <class Ch, class Text>
std::basic_string<Ch> printed(const Text& format, const std::vector<argument>& arguments) {
    const std::basic_string<Ch> text(format.begin(), format.end());
    cl::basic_format<Ch> f(text.c_str());
    insert(f, arguments);
    return f.str();
}

// At the borders of decimal digits, of each type, and any.
inline argument random_integer(choices& c) {
    std::uint64_t value = c.any<std::uint64_t>() >> 8 * c.below(8);
    if (c.once_in(2)) {
        value = 1;
        for (int digits = c.below(20); digits > 0; --digits)
            value *= 10;
        value = value * c.pick({1u, 5u, 9u}) - c.below(2u);
    }
    return integer(c.below(integer_types), c.once_in(4) ? 0 - value : value);
}

inline void check_integer(choices& c) {
    const directive d = random_directive(c);
    const bool stars = c.once_in(3);
    std::vector<argument> arguments;
    if (stars && d.width > 0)
        arguments.emplace_back(d.width);
    if (stars && d.precision >= 0)
        arguments.emplace_back(static_cast<std::uint64_t>(d.precision));
    if (stars && d.sig_digits >= 0)
        arguments.emplace_back(static_cast<std::int8_t>(d.sig_digits));
    arguments.push_back(random_integer(c));
    const std::string want = std::visit(
        [&](const auto& value) -> std::string {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_integral_v<T>)
                return format_model(d).print(static_cast<std::uint64_t>(value), 8 * sizeof(T),
                                             std::is_signed_v<T>);
            return "";
        },
        arguments.back());
    EXPECT_EQ(printed<char>("<" + d.text(stars) + ">", arguments), "<" + want + ">") << d.text(stars);
    if (d.letter != 'c') { // the wide one looks at more bits
        EXPECT_EQ(printed<wchar_t>(d.text(stars), arguments), std::wstring(want.begin(), want.end()))
            << d.text(stars);
    }
}

inline std::string random_format(choices& c) {
    std::string format;
    for (int n = c.below(7); n > 0; --n) {
        const int kind = c.below(8);
        if (kind < 3)
            format += random_directive(c).text(c.once_in(4));
        else if (kind == 3)
            format += c.text(12);
        else if (kind == 4)
            format += std::string(static_cast<std::size_t>(c.below(300)), 'l');
        else
            format += c.pick({"%%", "%?", "%", "a %?: ", "%I64?%hu"});
    }
    return format;
}

// Under a pointer's letter a value prints the address of its text, which no two runs have in common.
inline argument random_argument(choices& c, bool values) {
    switch (c.below(values ? 7 : 5)) {
    case 0:
        return c.pick({argument(true), argument('A'), argument(L'\u20AC'),
                       argument(static_cast<const char*>(nullptr))});
    case 1:
        return c.text(40);
    case 2:
        return std::wstring(c.below(20u), static_cast<wchar_t>(c.any<std::uint16_t>()));
    case 5:
        return cl::ip6_addr{{c.any<std::uint8_t>(), 0, 0, c.any<std::uint8_t>()}};
    case 6:
        return cl::mac_addr{{c.any<std::uint8_t>()}};
    default:
        return random_integer(c);
    }
}

inline void check_targets(choices& c) {
    const std::string format_text = random_format(c);
    SCOPED_TRACE("format " + testing::PrintToString(format_text));
    // Memory that ends where the format ends.
    const auto exact = std::make_unique<char[]>(format_text.size() + 1);
    const char* const format = std::strcpy(exact.get(), format_text.c_str());
    std::vector<argument> arguments;
    for (std::size_t n = c.below(8u); n > 0; --n)
        arguments.push_back(random_argument(c, format_text.find_first_of("xXp") == std::string::npos));

    const std::string whole = printed<char>(format_text, arguments);
    slot_target slots;
    slots.scan_format(format);
    insert(slots, arguments);
    EXPECT_EQ(slots.str(), whole);
    std::string appended = "x";
    {
        cl::basic_strformat<char> s(appended, format);
        insert(s, arguments);
    }
    EXPECT_EQ(appended, "x" + whole);

    const std::size_t size = c.below(c.once_in(2) ? 20u : 400u), room = size == 0 ? 0 : size - 1;
    const auto buffer = std::make_unique<char[]>(size);
    const auto holds = [&](const std::string& text) {
        EXPECT_EQ(std::string(buffer.get(), size ? std::min(room, text.size()) + 1 : 0),
                  size ? text.substr(0, room) + '\0' : "");
    };
    {
        cl::basic_sformat<char> s(buffer.get(), size, format);
        insert(s, arguments);
    }
    holds(whole);
    char* cursor = buffer.get();
    for (int i = 0; i < 2; ++i) {
        cl::basic_spformat<char> s(&cursor, buffer.get() + size, format);
        insert(s, arguments);
    }
    holds(whole + whole);
    EXPECT_EQ(cursor - buffer.get(), std::ssize((whole + whole).substr(0, room)));

    // A slot that throws: what came before stands, and the rest can be finished. Then a format anew.
    slot_target throwing(1 + c.below(30));
    try {
        throwing.scan_format(format);
        insert(throwing, arguments);
    } catch (const std::string&) {
        EXPECT_TRUE(whole.starts_with(throwing.text));
    }
    try {
        throwing.finish();
        throwing.scan_format(format);
        insert(throwing, arguments);
    } catch (const std::string&) {
        throwing.finish();
    }
    printed<wchar_t>(format_text, arguments);
}

inline void run_format(choices& c) {
    for (int n = c.below(30); n > 0 && !c.spent() && !testing::Test::HasFailure(); --n)
        check_integer(c);
    check_targets(c);
}
