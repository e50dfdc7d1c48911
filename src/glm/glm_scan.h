// glm_scan.h - the short plain numbers that nearly all of a model's text consists of, scanned in place
//
// Each function takes numbers of one form only and says null to everything else, which is then read by the rules of
// glm_text.h; for the numbers that it takes the result is the same. That is what makes reading fast: no bounds to
// check, no locale, no copy. The text ends in a character that no number holds, such as the NUL behind a window.
#pragma once

#include "glm/glm_text.h"

#include <bit>
#include <cstdint>

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

// A decimal fraction such as "-12.5" of up to 15 digits, in front of white space.
//
// Its digits are an integer below 2^53, so they and the power of ten are doubles without error, and their quotient is
// the double nearest to the fraction. Rounding that to a float gives the float nearest to the fraction, unless the
// quotient lies in the middle between two floats: rounding keeps the order of numbers and each middle is a double, so
// fraction and quotient are never on different sides of one. A quotient in a middle says null. It shows in the 29
// bits that a double's fraction has more than a float's; no number of this form but 0 is so small that a float has
// fewer.
inline const char* __glmScanFloat(const char* p, float& value) {
    constexpr double POWERS[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::uint64_t LOST_BITS = (std::uint64_t{1} << 29) - 1, HALF = std::uint64_t{1} << 28;
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
    const double quotient = static_cast<double>(static_cast<std::int64_t>(digits)) / POWERS[decimals];
    if ((std::bit_cast<std::uint64_t>(quotient) & LOST_BITS) == HALF) return nullptr;
    value = static_cast<float>(negative ? -quotient : quotient);
    return p;
}
