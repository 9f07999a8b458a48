// The structural tokens of JSON as constant objects that can render themselves, with or without a member
// name. Names are not escaped; commas and indentation are a writer's.
#pragma once

#include <string>

namespace cl {

class jformatter {
public:
    std::string name;

    // The token's kind: 5 opens a level, 6 closes one, 24 is a point where a line may end.
    virtual int kind() const = 0;
    // The token after its name: "name":{ with `quoted`, for machines; name = { without, for people. Without
    // a name the token alone.
    virtual std::string render(bool quoted) const = 0;

protected:
    jformatter() = default;
    ~jformatter() = default;
};

template <char Token, int Kind>
class jctrl final : public jformatter {
public:
    int kind() const override { return Kind; }
    std::string render(bool quoted) const override {
        if (name.empty())
            return std::string(1, Token);
        return quoted ? '"' + name + "\":" + Token : name + " = " + Token;
    }
};

// One object of each, with an empty name; they live from program load to exit.
extern const jctrl<'{', 5> json_open_object;
extern const jctrl<'}', 6> json_close_object;
extern const jctrl<'[', 5> json_open_array;
extern const jctrl<']', 6> json_close_array;
extern const jctrl<'\n', 24> json_line_break;

} // namespace cl
