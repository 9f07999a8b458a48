// The format engine on any format string and any arguments: every target must hold the same text, cut to its
// size, and the slots called one by one must see it as well.
//
// Input: a byte of buffer size, the format up to a zero, then arguments: a byte of type and its value.
#include "cl/format/format.hpp"
#include "cl/format/value_text.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace {

using argument = std::variant<bool, char, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t,
                              std::int32_t, std::uint32_t, std::int64_t, std::uint64_t, wchar_t, const char*,
                              std::string, std::wstring, cl::ip6_addr, cl::mac_addr, cl::guid>;

class input {
public:
    input(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
    bool empty() const { return left_ == 0; }

    template <class T>
    T take() {
        T value{};
        const std::size_t n = std::min(left_, sizeof value);
        std::memcpy(static_cast<void*>(&value), data_, n);
        data_ += n;
        left_ -= n;
        return value;
    }

    // As far as the next zero.
    std::string text() {
        std::string s;
        while (left_ != 0) {
            const char c = take<char>();
            if (c == 0)
                break;
            s += c;
        }
        return s;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

// Under a pointer's letter a value prints the address of its text, which no two runs have in common.
argument take_argument(input& in, bool values) {
    switch (in.take<std::uint8_t>() % (values ? 17 : 14)) {
    case 0:
        return (in.take<std::uint8_t>() & 1) != 0;
    case 1:
        return in.take<char>();
    case 2:
        return in.take<std::int8_t>();
    case 3:
        return in.take<std::uint8_t>();
    case 4:
        return in.take<std::int16_t>();
    case 5:
        return in.take<std::uint16_t>();
    case 6:
        return in.take<std::int32_t>();
    case 7:
        return in.take<std::uint32_t>();
    case 8:
        return in.take<std::int64_t>();
    case 9:
        return in.take<std::uint64_t>();
    case 10:
        return static_cast<wchar_t>(in.take<std::uint16_t>());
    case 11:
        return reinterpret_cast<const char*>(static_cast<std::uintptr_t>(in.take<std::uint16_t>() % 4096));
    case 12:
        return in.text();
    case 13: {
        std::wstring w;
        for (const char c : in.text())
            w += static_cast<wchar_t>(static_cast<unsigned char>(c) * 5);
        return w;
    }
    case 14:
        return in.take<cl::ip6_addr>();
    case 15:
        return in.take<cl::mac_addr>();
    default:
        return in.take<cl::guid>();
    }
}

void insert(cl::format_base<char>& f, const std::vector<argument>& arguments) {
    for (const argument& a : arguments)
        std::visit([&f](const auto& value) { f << value; }, a);
    // Texts also by pointer and as a view, each of which ends by itself.
    for (const argument& a : arguments) {
        if (const auto* text = std::get_if<std::string>(&a))
            f << text->c_str() << std::string_view(*text);
        if (const auto* text = std::get_if<std::wstring>(&a))
            f << text->c_str() << std::wstring_view(*text);
    }
}

// A target whose text comes through the slots alone.
class slots : public cl::format_base<char> {
public:
    explicit slots(const char* format) { scan_format(format); }
    void put_fill(char c, int count) override { text.append(static_cast<std::size_t>(count), c); }
    void put_text(const char* t, std::size_t n) override { text.append(t, n); }
    std::string result() const override { return text; }
    std::string text;
};

void check(bool holds) {
    if (!holds)
        std::abort();
}

// A copy that ends where its memory ends.
std::unique_ptr<char[]> exact(const std::string& s) {
    auto copy = std::make_unique<char[]>(s.size() + 1);
    std::memcpy(copy.get(), s.c_str(), s.size() + 1);
    return copy;
}

void check_fixed(const char* format, const std::vector<argument>& arguments, const std::string& whole,
                 std::size_t size) {
    const auto buf = std::make_unique<char[]>(size);
    {
        cl::basic_sformat<char> f(buf.get(), size, format);
        insert(f, arguments);
    }
    const std::string want = whole.substr(0, size == 0 ? 0 : size - 1);
    check(size == 0 || std::memcmp(buf.get(), want.c_str(), want.size() + 1) == 0);

    char* cursor = buf.get();
    const std::string twice = (whole + whole).substr(0, size == 0 ? 0 : size - 1);
    for (int i = 0; i < 2; ++i) {
        cl::basic_spformat<char> f(&cursor, buf.get() + size, format);
        insert(f, arguments);
    }
    check(cursor == buf.get() + twice.size());
    check(size == 0 || std::memcmp(buf.get(), twice.c_str(), twice.size() + 1) == 0);
}

void run_wide(const std::string& format, const std::vector<argument>& arguments) {
    std::wstring wide;
    for (const char c : format)
        wide += static_cast<wchar_t>(c == '\x7F' ? 0x20AC : static_cast<unsigned char>(c));
    cl::basic_format<wchar_t> f(wide.c_str());
    for (const argument& a : arguments)
        std::visit(
            [&f](const auto& value) {
                if constexpr (requires { f << value; })
                    f << value;
            },
            a);
    const std::wstring text = f.str();
    check(text == f.result());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input in(data, size);
    const auto buffer_size = static_cast<std::size_t>(in.take<std::uint8_t>());
    const std::string format_text = in.text();
    const auto format = exact(format_text);
    const bool values = format_text.find_first_of("xXp") == std::string::npos;
    std::vector<argument> arguments;
    while (!in.empty() && arguments.size() < 20)
        arguments.push_back(take_argument(in, values));

    cl::basic_format<char> f(format.get());
    insert(f, arguments);
    const std::string whole = f.str();

    slots by_slot(format.get());
    insert(by_slot, arguments);
    check(by_slot.str() == whole);

    std::string appended = "x";
    {
        cl::basic_strformat<char> s(appended, format.get());
        insert(s, arguments);
    }
    check(appended == "x" + whole);
    {
        // Half a format's arguments, then the format anew.
        cl::basic_strformat<char> s(appended);
        s.set_format(format.get());
        insert(s, {arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(arguments.size() / 2)});
        s.set_format(format.get());
        insert(s, arguments);
    }
    check_fixed(format.get(), arguments, whole, buffer_size);
    check_fixed(format.get(), arguments, whole, buffer_size % 17);
    run_wide(format_text, arguments);
    return 0;
}
