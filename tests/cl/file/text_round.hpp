// The round of a text file: any work on any bytes looks as it does to the naive model, through the short ways
// and through the slots alone.
#pragma once

#include "choices.hpp"
#include "cl/file/naive_text.hpp"
#include "cl/file/uni_file.hpp"
#include "fakes/disk.hpp"

#include <gtest/gtest.h>

// A subclass changes a slot (here for nothing), so every character goes through the slots.
struct slotted_file : cl::uni_file {};

inline std::wstring random_units(choices& c, std::size_t n) {
    static constexpr wchar_t odd[] = {L'\r',  L'\n',  L'\r',  L'\n',  0xFEFF, 0xFEFF, 0xD83D, 0xDE00,
                                      0xDBFF, 0xDC00, 0xFFFE, 0xFFFF, 0,      0x7F,   0x80,   0x20AC};
    std::wstring text;
    while (text.size() < n && !c.spent())
        if (const unsigned kind = c.below(8u); kind == 0)
            text += c.pick(odd);
        else if (kind == 1)
            text += static_cast<wchar_t>(c.any<std::uint16_t>());
        else
            text.append(c.below(40u), static_cast<wchar_t>(' ' + c.below(95)));
    return text;
}

inline std::string random_bytes(choices& c, std::size_t n) {
    std::string data;
    while (data.size() < n && !c.spent())
        data += c.once_in(4) ? c.pick(std::string_view("\r\n\xEF\xFF\xFE\xF0")) : c.any<char>();
    return data;
}

template <class File>
void work_on_text(choices c) {
    using fakes::disk;
    disk::reset();
    const std::wstring path = L"text", copy_path = L"copy";
    // A whole mark or a piece of one, and anything after it.
    naive_text model;
    const std::string_view mark = cl::byte_order_mark(c.below(cl::encoding_count));
    model.bytes = mark.substr(0, c.once_in(4) ? c.below(mark.size() + 1) : mark.size());
    if (c.once_in(3))
        model.bytes += random_bytes(c, c.below(9000u));
    for (const std::uint32_t encoding : {1u, 2u, 3u, 4u, 5u}) // the longer of two marks comes last
        if (model.bytes.starts_with(cl::byte_order_mark(encoding)))
            model.encoding = encoding;
    const bool empty = model.bytes.empty();
    disk::put(path, model.bytes);
    File file;
    const bool append = c.once_in(4);
    const std::uint32_t wanted = c.below(cl::encoding_count + 1);
    ASSERT_TRUE(file.open_as(path, cl::open_read_write | (append ? cl::open_append : 0u), wanted,
                             cl::share_deny_none));
    if (empty && wanted < cl::encoding_count)
        model.bytes = cl::byte_order_mark(model.encoding = wanted);
    model.mark = std::ssize(cl::byte_order_mark(model.encoding));
    model.pos = append && !empty ? model.size() : model.mark;
    ASSERT_EQ(file.encoding, model.encoding);
    ASSERT_EQ(file.bom_len, model.mark);
    bool read_ahead = false; // bytes beyond the logical position may stand in the buffer
    for (int step = 0; step < 150 && !c.spent() && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step << " at " << model.pos << " of " << model.size());
        const int op = c.below(12);
        std::wstring wide, expected;
        std::string narrow;
        if (op >= 5 && op < 10) {
            // Before a write what was read ahead must be given back.
            if (read_ahead && c.once_in(2))
                EXPECT_EQ(file.tell(), model.pos - model.mark);
            else
                EXPECT_TRUE(file.sync());
        }
        read_ahead = op < 5;
        if (op < 2) {
            EXPECT_EQ(op ? file.read_line(wide) : file.read_line(narrow), model.line(expected));
            EXPECT_EQ(op ? cl::wide_to_narrow(wide, 0) : narrow, cl::wide_to_narrow(expected, 0));
            EXPECT_TRUE(!op || wide == expected);
            EXPECT_EQ(file.eol, model.eol);
        } else if (op < 4) {
            for (int n = c.below(60); n > 0; --n) {
                wchar_t got = 0, unit = 0;
                char byte = 0;
                EXPECT_EQ(op == 2 ? file.get_wchar(&got) : file.get_char(&byte), model.get(unit));
                EXPECT_EQ(got, op == 2 ? unit : 0);
                EXPECT_EQ(byte, op == 3 && unit ? cl::wide_to_narrow(&unit, 1, 0)[0] : 0);
            }
        } else if (op == 4) {
            narrow.resize(c.below(c.once_in(4) ? 6000u : 40u));
            const std::string bytes = model.read(std::ssize(narrow));
            narrow.resize(static_cast<std::size_t>(file.read(narrow.data(), std::ssize(narrow))));
            EXPECT_EQ(narrow, bytes);
        } else if (op < 8) {
            wide = random_units(c, c.below(op == 7 ? 20u : c.once_in(10) ? 3000u : 100u));
            if (op == 7)
                for (const wchar_t unit : wide)
                    EXPECT_TRUE(file.put_char(unit));
            else
                EXPECT_TRUE(op == 5 ? file.write_line(wide) : file.write_text(wide));
            model.put(op == 5 ? wide + L"\r\n" : wide);
        } else if (op == 8) {
            narrow = random_bytes(c, c.below(50u));
            EXPECT_TRUE(file.write_text(narrow));
            model.put(cl::narrow_to_wide(narrow, 0));
        } else if (op == 9 && c.once_in(3)) {
            EXPECT_TRUE(file.set_end());
            model.bytes.resize(static_cast<std::size_t>(model.pos));
        } else if (op == 9) {
            narrow = random_bytes(c, c.below(c.once_in(4) ? 6000u : 40u));
            EXPECT_EQ(file.write(narrow.data(), std::ssize(narrow)), std::ssize(narrow));
            model.write(narrow);
        } else if (op == 10) {
            const int origin = c.below(3);
            const std::int64_t offset = c.below(origin ? 100 : model.size() + 40) - (origin ? 50 : 10);
            const std::int64_t position = model.seek(offset, origin);
            EXPECT_EQ(file.seek(offset, static_cast<std::uint32_t>(origin)), position);
        } else {
            EXPECT_EQ(file.tell(), model.pos - model.mark);
        }
        EXPECT_TRUE(file.last_error == 0 || file.last_error == cl::os::error_negative_seek);
    }
    File copy;
    ASSERT_TRUE(copy.open_as(copy_path, cl::open_create | cl::open_read_write, 9, cl::share_deny_all));
    file.last_error = 0;
    EXPECT_TRUE(file.copy_to(copy, true) && copy.sync() && file.close());
    EXPECT_EQ(disk::bytes(path), model.bytes);
    EXPECT_EQ(disk::bytes(copy_path), model.bytes);
}

inline void run_text_file(choices& c) {
    work_on_text<cl::uni_file>(c);
    if (!testing::Test::HasFailure())
        work_on_text<slotted_file>(c);
    fakes::disk::end();
}
