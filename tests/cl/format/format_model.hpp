// A naive model of how an integer prints under a directive: digit strings and insertions into them, one stage
// after the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
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

// `value` is sign-extended to 64 bits; `bits` and `is_signed` describe its type.
class format_model {
public:
    format_model(const directive& d, std::uint64_t value, int bits, bool is_signed)
        : d_(d), value_(bits == 64 ? value : value & ((std::uint64_t{1} << bits) - 1)), bits_(bits),
          is_signed_(is_signed), precision_(d.precision) {}

    std::string print() {
        char letter = d_.letter;
        if (letter == '?' || letter == 'i')
            letter = is_signed_ ? 'd' : 'u';
        if (letter == 'c')
            return pad_text((value_ & 0xFF) == 0 ? "" : std::string(1, static_cast<char>(value_ & 0xFF)));
        const std::string lower = "0123456789abcdefghijklmnopqrstuvwxyz";
        const std::string upper = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
        const std::string base64 = upper.substr(10) + lower.substr(10) + lower.substr(0, 10) + "+/";
        const std::map<char, std::pair<std::string, std::string>> radixes = {
            {'x', {lower.substr(0, 16), "0x"}},
            {'p', {lower.substr(0, 16), "0x"}},
            {'X', {upper.substr(0, 16), "0x"}},
            {'o', {lower.substr(0, 8), "0"}},
            {'z', {lower, ""}},
            {'Z', {upper, ""}},
            {'m', {base64, ""}},
        };
        std::string sign, prefix, digits;
        const auto found = radixes.find(letter);
        const bool radix = found != radixes.end();
        if (radix) {
            digits = in_base(value_, found->second.first);
            prefix = found->second.second;
        } else {
            const bool negative = letter != 'u' && value_ >> (bits_ - 1);
            sign = negative ? "-" : "";
            digits = significant(in_base(negative ? (~std::uint64_t{0} >> (64 - bits_)) - value_ + 1 : value_,
                                         lower.substr(0, 10)));
        }
        if (!(d_.has('#') || letter == 'p') || digits == "0")
            prefix.clear();
        if (sign.empty())
            sign = d_.has('+') ? "+" : d_.has(' ') ? " " : "";
        if (d_.has(','))
            digits = with_point(digits);
        else if (d_.has('\''))
            digits = radix ? grouped(digits, 4, ':') : grouped(digits, 3, ',');
        return pad_number(sign + prefix, digits);
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
    static std::string grouped(std::string digits, std::size_t size, char separator) {
        for (std::size_t from_end = size; from_end < digits.size(); from_end += size + 1)
            digits.insert(digits.size() - from_end, 1, separator);
        return digits;
    }
    std::string pad_number(const std::string& prefix, std::string s) const {
        const bool zero_fill = d_.has('0') && d_.precision < 0 && !d_.has('-');
        const int zeros = std::max(precision_, zero_fill ? d_.width - static_cast<int>(prefix.size()) : 0);
        if (zeros > static_cast<int>(s.size()))
            s.insert(0, static_cast<std::size_t>(zeros) - s.size(), '0');
        return pad(prefix + s, ' ');
    }
    std::string pad_text(std::string s) const {
        if (d_.precision >= 0)
            s = s.substr(0, static_cast<std::size_t>(d_.precision));
        return pad(s, d_.has('0') && d_.precision < 0 ? '0' : ' ');
    }
    std::string pad(const std::string& s, char fill) const {
        const auto n = static_cast<std::size_t>(std::max(0, d_.width - static_cast<int>(s.size())));
        return d_.has('-') ? s + std::string(n, ' ') : std::string(n, fill) + s;
    }

    const directive& d_;
    std::uint64_t value_;
    int bits_;
    bool is_signed_;
    int precision_;
};
