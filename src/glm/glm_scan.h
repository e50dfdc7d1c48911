// glm_scan.h - the short plain numbers that nearly all of a model's text consists of, scanned in place
//
// Each function takes numbers of one form only and says null to everything else, which is then read by the rules of
// glm_text.h; for the numbers that it takes the result is the same. That is what makes reading fast: no bounds to
// check, no locale, no copy. The text ends in a character that no number holds, such as the NUL behind a window.
#pragma once

#include "glm/glm_text.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

inline bool __glmIsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// Up to 9 digits, which 32 bits hold.
inline const char* __glmScanIndex(const char* p, std::uint32_t& value) {
    const char* const first = p;
    std::uint32_t number = 0;
    while (__glmIsDigit(*p)) number = 10 * number + static_cast<std::uint32_t>(*p++ - '0');
    if (p - first < 1 || p - first > 9) return nullptr;
    value = number;
    return p;
}

// As __glmScanIndex, when its value is of no interest.
inline const char* __glmSkipIndex(const char* p) {
    const char* const first = p;
    while (__glmIsDigit(*p)) ++p;
    return p - first < 1 || p - first > 9 ? nullptr : p;
}

// The float nearest to the quotient of `digits`, which have no more than 15 digits, and that power of ten. False
// where the quotient lies in the middle between two floats.
//
// The digits are an integer below 2^53, so they and the power of ten are doubles without error, and their quotient is
// the double nearest to the fraction. Rounding that to a float gives the float nearest to the fraction, unless the
// quotient lies in the middle between two floats: rounding keeps the order of numbers and each middle is a double, so
// fraction and quotient are never on different sides of one. It shows in the 29 bits that a double's fraction has
// more than a float's; no number of this form but 0 is so small that a float has fewer.
inline bool __glmRoundFraction(std::uint64_t digits, std::ptrdiff_t decimals, bool negative, float& value) {
    constexpr double POWERS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::uint64_t LOST_BITS = (std::uint64_t{1} << 29) - 1, HALF = std::uint64_t{1} << 28;
    const double quotient = static_cast<double>(static_cast<std::int64_t>(digits)) / POWERS[decimals];
    if ((std::bit_cast<std::uint64_t>(quotient) & LOST_BITS) == HALF) return false;
    value = static_cast<float>(negative ? -quotient : quotient);
    return true;
}

// A decimal fraction such as "-12.5" of up to 15 digits, in front of white space.
inline const char* __glmScanFloat(const char* p, float& value) {
    const bool negative = *p == '-';
    if (negative) ++p;
    const char* const first = p;
    std::uint64_t digits = 0;
    while (__glmIsDigit(*p)) digits = 10 * digits + static_cast<std::uint64_t>(*p++ - '0');
    auto count = p - first, decimals = decltype(count){0};
    if (*p == '.') {
        const char* const point = ++p;
        while (__glmIsDigit(*p)) digits = 10 * digits + static_cast<std::uint64_t>(*p++ - '0');
        decimals = p - point;
        count += decimals;
    }
    if (count < 1 || count > 15 || !__glmIsWhite(*p)) return nullptr;
    return __glmRoundFraction(digits, decimals, negative, value) ? p : nullptr;
}

// ---- Eight characters at once -------------------------------------------------------------------------------------

// Up to 7 digits, of which there may be 0, as an integer. Eight characters from `p` on can be read. Returns where the
// digits end; or null, and nothing is known of them. `guess` says how long the last number was: a processor predicts
// a branch, and need not wait for the length of one number to find the next.
[[gnu::always_inline]] inline const char* __glmScanDigits(const char* p, std::uint32_t& value,
                                                          std::ptrdiff_t& guess) {
    constexpr std::uint64_t ZEROS = 0x3030303030303030, OVER_NINE = 0x7676767676767676, HIGH = 0x8080808080808080,
                            PAIRS = 10 * 0x100 + 1, FOURS = 100 * 0x10000 + 1, EIGHT = 10000 * 0x100000000 + 1,
                            EVEN_PAIRS = 0x00ff00ff00ff00ff, EVEN_FOURS = 0x0000ffff0000ffff;
    if constexpr (std::endian::native != std::endian::little) return nullptr;
    std::uint64_t digits = 0;
    std::memcpy(&digits, p, sizeof digits);
    digits ^= ZEROS;
    const std::uint64_t others = ((digits + OVER_NINE) | digits) & HIGH;
    if (others == 0) return nullptr;
    const int length = std::countr_zero(others) >> 3;
    digits <<= 1;  // twice, because a shift by 64 is none
    digits <<= 63 - 8 * length;
    digits = (digits * PAIRS) >> 8;
    digits = ((digits & EVEN_PAIRS) * FOURS) >> 16;
    value = static_cast<std::uint32_t>(((digits & EVEN_FOURS) * EIGHT) >> 32);
    if (length != guess) [[unlikely]] {
        guess = length;
        asm volatile("" : "+r"(guess));  // keeps it a branch
    }
    return p + guess;
}
