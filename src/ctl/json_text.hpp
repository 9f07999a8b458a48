// JSON as vflctl writes it: pure ASCII, so that no code page on the way can break it; one document after
// another.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vfl::ctl {

// The calls follow the document: a name before each member of an object. Texts may hold anything.
class json_text {
public:
    json_text();
    ~json_text();
    json_text(const json_text&) = delete;
    json_text& operator=(const json_text&) = delete;

    json_text& open_object();
    json_text& close_object();
    json_text& open_array();
    json_text& close_array();
    json_text& name(std::wstring_view member);

    json_text& value(std::wstring_view text);
    json_text& value(const wchar_t* text) { return value(std::wstring_view(text)); }
    json_text& value(double number); // one that is infinite or no number becomes null
    json_text& null();
    template <std::integral T>
    json_text& value(T v) {
        if constexpr (std::same_as<T, bool>)
            return put_bool(v);
        else if constexpr (std::signed_integral<T>)
            return put_signed(v);
        else
            return put_unsigned(v);
    }

    template <class T>
    json_text& member(std::wstring_view member_name, const T& v) {
        return name(member_name).value(v);
    }

    // The finished document; the next one begins.
    std::string take();

private:
    json_text& put_bool(bool v);
    json_text& put_signed(std::int64_t v);
    json_text& put_unsigned(std::uint64_t v);

    struct writer;
    std::unique_ptr<writer> writer_;
};

} // namespace vfl::ctl
