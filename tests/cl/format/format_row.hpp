// One row of the generated table: a directive in its parts.
#pragma once

#include <string>

struct directive {
    std::string flags; // of " #'+,-0"
    int width = 0;
    int precision = -1; // -1 = not given
    int sig_digits = -1;
    char letter = '?';

    bool has(char flag) const { return flags.find(flag) != std::string::npos; }

    // The directive's text; with `stars` its numbers are left to arguments.
    std::string text(bool stars) const {
        std::string t = "%" + flags;
        if (width > 0)
            t += stars ? "*" : std::to_string(width);
        if (precision >= 0)
            t += "." + (stars ? "*" : std::to_string(precision));
        if (sig_digits >= 0)
            t += "~" + (stars ? "*" : std::to_string(sig_digits));
        return t + letter;
    }
};
