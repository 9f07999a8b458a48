// A naive model of how an integer prints under a directive: digit strings and insertions into them, one stage
// after the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

// A directive in its parts.
struct directive {
    std::string flags; // of " #'+,-0"
    int width = 0;
    int precision = -1; // -1 = not given
    int sig_digits = -1;
    char letter = '?';

    bool has(char flag) const { return flags.find(flag) != std::string::npos; }
    // The directive's text; with `stars` its numbers are left to arguments.
    std::string text(bool stars) const {
        const auto number = [&](const char* mark, int n, int least) {
            return n < least ? "" : mark + (stars ? "*" : std::to_string(n));
        };
        return "%" + flags + number("", width, 1) + number(".", precision, 0) + number("~", sig_digits, 0) +
               letter;
    }
};

class format_model {
public:
    explicit format_model(const directive& d) : d_(d), precision_(d.precision) {}

    // `value` is sign-extended to 64 bits; `bits` and `is_signed` describe its type.
    std::string print(std::uint64_t value, unsigned bits, bool is_signed) {
        const std::uint64_t mask = ~std::uint64_t{0} >> (64 - bits);
        value &= mask;
        const char letter = d_.letter == '?' || d_.letter == 'i' ? (is_signed ? 'd' : 'u') : d_.letter;
        if (letter == 'c')
            return pad_text((value & 0xFF) == 0 ? "" : std::string(1, static_cast<char>(value & 0xFF)));
        const std::string digit = "0123456789", upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                          lower = "abcdefghijklmnopqrstuvwxyz";
        const std::size_t radix = std::string("xpXozZm").find(letter);
        const bool decimal = radix == std::string::npos,
                   negative = decimal && letter != 'u' && value >> (bits - 1);
        const std::string alphabets[] = {digit + "abcdef",
                                         digit + "abcdef",
                                         digit + "ABCDEF",
                                         "01234567",
                                         digit + lower,
                                         digit + upper,
                                         upper + lower + digit + "+/"};
        std::string digits = in_base(negative ? mask - value + 1 : value, decimal ? digit : alphabets[radix]);
        std::string sign = negative ? "-" : d_.has('+') ? "+" : d_.has(' ') ? " " : "";
        if (decimal)
            digits = significant(digits);
        else if ((d_.has('#') || letter == 'p') && digits != "0" && radix < 4)
            sign += letter == 'o' ? "0" : "0x";
        if (d_.has(','))
            digits = with_point(digits);
        else if (d_.has('\''))
            for (std::size_t size = decimal ? 3 : 4, at = size; at < digits.size(); at += size + 1)
                digits.insert(digits.size() - at, 1, decimal ? ',' : ':');
        const bool zero_fill = d_.has('0') && d_.precision < 0 && !d_.has('-');
        const int zeros = std::max(precision_, zero_fill ? d_.width - static_cast<int>(sign.size()) : 0);
        if (zeros > static_cast<int>(digits.size()))
            digits.insert(0, static_cast<std::size_t>(zeros) - digits.size(), '0');
        return pad(sign + digits, ' ');
    }

private:
    static std::string in_base(std::uint64_t v, const std::string& alphabet) {
        std::string s(1, alphabet[v % alphabet.size()]);
        while ((v /= alphabet.size()) != 0)
            s = alphabet[v % alphabet.size()] + s;
        return s;
    }
    // Cuts decimal places that are more than the wanted digits, and rounds half up.
    std::string significant(std::string digits) {
        char cut = '0';
        while (d_.has(',') && d_.sig_digits > 0 && precision_ > 0 &&
               static_cast<int>(digits.size()) > d_.sig_digits) {
            cut = digits.back();
            digits.pop_back();
            --precision_;
        }
        if (cut < '5')
            return digits;
        std::size_t i = digits.size();
        while (i > 0 && digits[i - 1] == '9')
            digits[--i] = '0';
        if (i == 0)
            return "1" + digits;
        ++digits[i - 1];
        return digits;
    }
    std::string with_point(std::string digits) {
        if (precision_ <= 0)
            return digits;
        const auto places = static_cast<std::size_t>(precision_);
        if (digits.size() <= places)
            digits.insert(0, places + 1 - digits.size(), '0');
        digits.insert(digits.size() - places, ".");
        if (d_.has('#') || d_.letter == 'p') {
            for (; digits.back() == '0'; digits.pop_back())
                --precision_;
            if (digits.back() == '.')
                digits.pop_back();
        }
        return digits;
    }
    std::string pad_text(const std::string& s) const {
        return pad(d_.precision >= 0 ? s.substr(0, static_cast<std::size_t>(d_.precision)) : s,
                   d_.has('0') && d_.precision < 0 ? '0' : ' ');
    }
    std::string pad(const std::string& s, char fill) const {
        const auto n = static_cast<std::size_t>(std::max(0, d_.width - static_cast<int>(s.size())));
        return d_.has('-') ? s + std::string(n, ' ') : std::string(n, fill) + s;
    }

    const directive& d_;
    int precision_;
};
