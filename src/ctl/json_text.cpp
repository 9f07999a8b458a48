#include "ctl/json_text.hpp"

#include "ctl/output.hpp"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wunknown-warning-option"
#pragma GCC diagnostic ignored "-Wclass-memaccess"
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#pragma GCC diagnostic pop

namespace vfl::ctl {

struct json_text::writer {
    using buffer = rapidjson::GenericStringBuffer<rapidjson::ASCII<>>;
    buffer text;
    rapidjson::Writer<buffer, rapidjson::UTF16<wchar_t>, rapidjson::ASCII<>> out{text};
};

json_text::json_text() : writer_(std::make_unique<writer>()) {}
json_text::~json_text() = default;

json_text& json_text::open_object() {
    return writer_->out.StartObject(), *this;
}

json_text& json_text::close_object() {
    return writer_->out.EndObject(), *this;
}

json_text& json_text::open_array() {
    return writer_->out.StartArray(), *this;
}

json_text& json_text::close_array() {
    return writer_->out.EndArray(), *this;
}

json_text& json_text::name(std::wstring_view member) {
    writer_->out.Key(member.data(), static_cast<rapidjson::SizeType>(member.size()));
    return *this;
}

json_text& json_text::value(std::wstring_view text) {
    const std::wstring whole = well_formed(text); // the writer stops at half a surrogate pair
    writer_->out.String(whole.data(), static_cast<rapidjson::SizeType>(whole.size()));
    return *this;
}

json_text& json_text::value(double number) {
    if (!writer_->out.Double(number))
        writer_->out.Null();
    return *this;
}

json_text& json_text::null() {
    return writer_->out.Null(), *this;
}

json_text& json_text::put_bool(bool v) {
    return writer_->out.Bool(v), *this;
}

json_text& json_text::put_signed(std::int64_t v) {
    return writer_->out.Int64(v), *this;
}

json_text& json_text::put_unsigned(std::uint64_t v) {
    return writer_->out.Uint64(v), *this;
}

std::string json_text::take() {
    std::string text(writer_->text.GetString(), writer_->text.GetSize());
    writer_->text.Clear();
    writer_->out.Reset(writer_->text);
    return text;
}

} // namespace vfl::ctl
