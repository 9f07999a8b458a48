// The end of a line among bytes, and runs of plain ASCII between bytes and UTF-16 units, sixteen at a time
// where the processor has the instructions (every 64-bit Windows machine has), else one by one.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace cl {

// The first CR or LF of [p, end), or end.
inline char* find_line_end(char* p, char* end) {
#if defined(__SSE2__)
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                                          _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')));
        if (const int found = _mm_movemask_epi8(ends))
            return p + std::countr_zero(static_cast<unsigned>(found));
    }
#endif
    while (p < end && *p != '\n' && *p != '\r')
        ++p;
    return p;
}

// The first CR, LF, zero or byte of 128 and above in [p, end), or end.
inline char* find_plain_end(char* p, char* end) {
#if defined(__SSE2__)
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i ends = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                                                       _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r'))),
                                          _mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
        if (const int found = _mm_movemask_epi8(_mm_or_si128(ends, bytes)))
            return p + std::countr_zero(static_cast<unsigned>(found));
    }
#endif
    for (; p < end; ++p)
        if (*p == '\n' || *p == '\r' || *p == 0 || (*p & 0x80) != 0)
            break;
    return p;
}

// Widens bytes up to the first CR, LF or byte of 128 and above and returns how many. May write all n units.
inline std::ptrdiff_t widen_ascii_run(const std::uint8_t* p, std::ptrdiff_t n, wchar_t* units) {
    std::ptrdiff_t done = 0;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    for (; n - done >= 16; done += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + done));
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                                          _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r')));
        auto* to = reinterpret_cast<__m128i*>(units + done);
        for (const __m128i half : {_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero)}) {
            if constexpr (sizeof(wchar_t) == 2) {
                _mm_storeu_si128(to++, half);
            } else {
                _mm_storeu_si128(to++, _mm_unpacklo_epi16(half, zero));
                _mm_storeu_si128(to++, _mm_unpackhi_epi16(half, zero));
            }
        }
        // A byte that is no ASCII has its own high bit set.
        if (const int odd = _mm_movemask_epi8(_mm_or_si128(ends, bytes)))
            return done + std::countr_zero(static_cast<unsigned>(odd));
    }
#endif
    for (; done < n && p[done] < 0x80 && p[done] != '\n' && p[done] != '\r'; ++done)
        units[done] = p[done];
    return done;
}

// Narrows units up to the first that is 0 or no ASCII and returns how many. May write all n bytes.
inline std::ptrdiff_t narrow_ascii_run(const wchar_t* units, std::ptrdiff_t n, std::uint8_t* p) {
    std::ptrdiff_t done = 0;
#if defined(__SSE2__)
    for (; n - done >= 16; done += 16) {
        const auto* from = reinterpret_cast<const __m128i*>(units + done);
        __m128i halves[2];
        for (__m128i& half : halves) {
            half = _mm_loadu_si128(from++);
            // Saturates what doesn't fit, which is no ASCII after it either.
            if constexpr (sizeof(wchar_t) == 4)
                half = _mm_packs_epi32(half, _mm_loadu_si128(from++));
        }
        const __m128i not_ascii = _mm_and_si128(_mm_or_si128(halves[0], halves[1]), _mm_set1_epi16(-128));
        const __m128i bytes = _mm_packus_epi16(halves[0], halves[1]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + done), bytes);
        const __m128i zero = _mm_setzero_si128();
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(not_ascii, zero)) != 0xFFFF ||
            _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, zero)) != 0)
            break;
    }
#endif
    for (; done < n && units[done] > 0 && static_cast<std::uint32_t>(units[done]) < 0x80; ++done)
        p[done] = static_cast<std::uint8_t>(units[done]);
    return done;
}

} // namespace cl
