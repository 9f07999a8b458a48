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

constexpr char letters[] = "?iduxXpozZmcsf";

template <class T>
std::vector<T> borders() {
    using limits = std::numeric_limits<T>;
    std::vector<T> v{0, 1, 9, 10, 64, 65, 100, 127, limits::max(), static_cast<T>(limits::max() - 1)};
    if constexpr (limits::is_signed)
        v.insert(v.end(), {-1, -10, -99, limits::min(), static_cast<T>(limits::min() + 1)});
    if constexpr (sizeof(T) > 1)
        v.insert(v.end(), {999, 1000, 12345, static_cast<T>(limits::max() / 10)});
    if constexpr (sizeof(T) > 2)
        v.insert(v.end(), {99'949, 999'500, 123'456'789, static_cast<T>(limits::max() / 3)});
    return v;
}

template <class Ch>
std::basic_string<Ch> widened(const std::string& s) {
    std::basic_string<Ch> w;
    for (const char c : s)
        w += static_cast<Ch>(static_cast<unsigned char>(c));
    return w;
}

template <class Ch, class T>
std::basic_string<Ch> printed(const directive& d, T value, bool stars) {
    const auto text = widened<Ch>("<" + d.text(stars) + ">");
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
    const auto values = borders<T>();
    unsigned round = 0;
    for (unsigned set = 0; set < 128; ++set) {
        directive d;
        for (unsigned bit = 0; bit < 7; ++bit)
            if (set >> bit & 1)
                d.flags += "-0#',+ "[bit];
        for (const auto& field : fields) {
            d.width = field.width;
            d.precision = field.precision;
            d.sig_digits = field.sig_digits;
            for (const char* letter = letters; *letter != 0; ++letter) {
                d.letter = *letter;
                // All values with the letter of every day, of the others one in turn; stars and the wide form
                // in turn as well.
                for (std::size_t i = 0; i < (d.letter == '?' ? values.size() : 1); ++i, ++round) {
                    const T value = values[round % values.size()];
                    format_model model(d, static_cast<std::uint64_t>(value), 8 * sizeof(T),
                                       std::numeric_limits<T>::is_signed);
                    const std::string want = "<" + model.print() + ">";
                    const bool stars = round % 3 == 0;
                    ASSERT_EQ(printed<char>(d, value, stars), want) << d.text(stars) << " of " << +value;
                    // A wide %c looks at more bits than the model.
                    if (round % 4 == 0 && d.letter != 'c') {
                        ASSERT_EQ(printed<wchar_t>(d, value, stars), widened<wchar_t>(want))
                            << d.text(stars) << " of " << +value;
                    }
                }
            }
        }
    }
}

} // namespace

template <class T>
class format_table : public testing::Test {};
using integer_types = testing::Types<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                                     std::uint32_t, std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(format_table, integer_types);

TYPED_TEST(format_table, agrees_with_the_model) {
    check_type<TypeParam>();
}
