// number.h - a decimal number at the front of a text, as std::from_chars reads it: in the C locale whatever the
// program's, without white space or a plus sign in front
//
// Needs nothing, any thread.
#pragma once

#include <charconv>
#include <string_view>

#ifndef __cpp_lib_to_chars  // a C++ library that knows from_chars for integers alone
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <string>
#include <type_traits>
#endif

// Returns the number's end, or null if there is none or it is out of range; `number` is then unchanged.
template <typename Number>
const char* ryl_numberAt(std::string_view text, Number& number) {
#ifdef __cpp_lib_to_chars
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? end : nullptr;
#else
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string digits(text.substr(0, text.find_first_of("xX")));  // hexadecimal ones are not read
    if (digits.empty() || digits[0] == '+' || std::isspace(static_cast<unsigned char>(digits[0]))) return nullptr;
    char* end = nullptr;
    errno = 0;
    Number read;
    if constexpr (std::is_same_v<Number, float>)
        read = strtof_l(digits.c_str(), &end, plain);
    else
        read = strtod_l(digits.c_str(), &end, plain);
    const bool outOfRange = errno == ERANGE && (std::isinf(read) || read == 0);
    if (end == digits.c_str() || outOfRange) return nullptr;
    number = read;
    return text.data() + (end - digits.c_str());
#endif
}
