// JSON as vflctl writes it: pure ASCII, so that no code page on the way can break it; one document after
// another.
#pragma once

#include "ctl/output.hpp"

#include <cstdint>
#include <string>
#include <string_view>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wclass-memaccess"
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#pragma GCC diagnostic pop

namespace vfl::ctl {

// The calls follow the document: a name before each member of an object. Texts may hold anything.
class json_text {
public:
    json_text& open_object() { return writer_.StartObject(), *this; }
    json_text& close_object() { return writer_.EndObject(), *this; }
    json_text& open_array() { return writer_.StartArray(), *this; }
    json_text& close_array() { return writer_.EndArray(), *this; }

    json_text& name(std::wstring_view member) {
        writer_.Key(member.data(), static_cast<rapidjson::SizeType>(member.size()));
        return *this;
    }
    json_text& value(std::wstring_view text) {
        const std::wstring whole = well_formed(text); // the writer stops at half a surrogate pair
        writer_.String(whole.data(), static_cast<rapidjson::SizeType>(whole.size()));
        return *this;
    }
    json_text& value(const wchar_t* text) { return value(std::wstring_view(text)); }
    json_text& value(bool b) { return writer_.Bool(b), *this; }
    json_text& value(std::int64_t n) { return writer_.Int64(n), *this; }
    json_text& value(std::uint64_t n) { return writer_.Uint64(n), *this; }
    json_text& value(std::uint32_t n) { return writer_.Uint(n), *this; }
    json_text& value(std::int32_t n) { return writer_.Int(n), *this; }
    // What is no number becomes null.
    json_text& value(double d) {
        if (!writer_.Double(d))
            writer_.Null();
        return *this;
    }
    json_text& null() { return writer_.Null(), *this; }

    template <class T>
    json_text& member(std::wstring_view member_name, const T& v) {
        return name(member_name).value(v);
    }

    // The finished document; the next one begins.
    std::string take() {
        std::string text(buffer_.GetString(), buffer_.GetSize());
        buffer_.Clear();
        writer_.Reset(buffer_);
        return text;
    }

private:
    using buffer = rapidjson::GenericStringBuffer<rapidjson::ASCII<>>;
    buffer buffer_;
    rapidjson::Writer<buffer, rapidjson::UTF16<wchar_t>, rapidjson::ASCII<>> writer_{buffer_};
};

} // namespace vfl::ctl
