// Every flag, letter and star at the borders of every integer type, against the model.
#include "cl/format/format.hpp"
#include "format_model.hpp"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

// Widths, precisions and significant digits in force, each with each of its neighbours.
constexpr struct {
    int width, precision, sig_digits;
} fields[] = {{0, -1, -1}, {1, 0, -1},   {9, -1, -1}, {30, -1, 4}, {0, 1, 1},      {14, 3, -1}, {0, 4, 2},
              {8, 9, 3},   {40, 19, 18}, {0, 20, 19}, {80, 63, 2}, {127, 127, 20}, {0, 2, 127}};

template <class Ch, class T>
std::basic_string<Ch> printed(const directive& d, T value, bool stars) {
    const std::string narrow = "<" + d.text(stars) + ">";
    const std::basic_string<Ch> text(narrow.begin(), narrow.end());
    cl::basic_format<Ch> f(text.c_str());
    if (stars && d.width > 0)
        f << d.width;
    if (stars && d.precision >= 0)
        f << static_cast<std::uint64_t>(d.precision);
    if (stars && d.sig_digits >= 0)
        f << static_cast<signed char>(d.sig_digits);
    f << value;
    return f.str();
}

template <class T>
void check_type() {
    using limits = std::numeric_limits<T>;
    std::vector<T> values{limits::max(), static_cast<T>(limits::max() - 1), limits::min()};
    for (const int v : {0, 9, 10, 65, 100, 127, 1000, 99'949, 999'500, 123'456'789})
        values.insert(values.end(), {static_cast<T>(v), static_cast<T>(-v),
                                     static_cast<T>(limits::max() / static_cast<T>(v + 1))});
    unsigned round = 0;
    for (unsigned set = 0; set < 128; ++set) {
        directive d;
        for (unsigned bit = 0; bit < 7; ++bit)
            if (set >> bit & 1)
                d.flags += "-0#',+ "[bit];
        for (const auto& field : fields)
            for (const char letter : std::string("?iduxXpozZmcsf")) {
                d.width = field.width;
                d.precision = field.precision;
                d.sig_digits = field.sig_digits;
                d.letter = letter;
                // All values with the letter of every day, of the others one in turn; stars and the wide form
                // in turn as well.
                for (std::size_t i = 0; i < (letter == '?' ? values.size() : 1); ++i, ++round) {
                    const T value = values[round % values.size()];
                    format_model model(d, static_cast<std::uint64_t>(value), 8 * sizeof(T),
                                       limits::is_signed);
                    const std::string want = "<" + model.print() + ">";
                    const bool stars = round % 3 == 0;
                    ASSERT_EQ(printed<char>(d, value, stars), want) << d.text(stars) << " of " << +value;
                    // A wide %c looks at more bits than the model.
                    if (round % 4 == 0 && letter != 'c') {
                        ASSERT_EQ(printed<wchar_t>(d, value, stars), std::wstring(want.begin(), want.end()))
                            << d.text(stars) << " of " << +value;
                    }
                }
            }
    }
}

TEST(format, integers_agree_with_the_model) {
    check_type<std::int8_t>();
    check_type<std::uint8_t>();
    check_type<std::int16_t>();
    check_type<std::uint16_t>();
    check_type<std::int32_t>();
    check_type<std::uint32_t>();
    check_type<std::int64_t>();
    check_type<std::uint64_t>();
}

} // namespace
