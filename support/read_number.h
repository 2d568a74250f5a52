// Numbers in texts from outside, read the same under every locale.
#ifndef VEXA_SUPPORT_READ_NUMBER_H
#define VEXA_SUPPORT_READ_NUMBER_H

#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>

namespace vexa
{

// Reads the decimal number that a text begins with, behind blanks and with either sign. Gives the place
// behind it; null, and the value as it was, where there is none. What is too large is infinite, what is too
// small is 0.
template <typename Number>
const char* readNumber(const char* text, Number& value)
{
    const char* start = text + std::strspn(text, " \t\r\n\v\f");
    if (start[0] == '+' && start[1] != '-')
        ++start;
    Number number = 0;
    const auto [end, problem] = std::from_chars(start, start + std::strlen(start), number);
    if (problem == std::errc::invalid_argument)
        return nullptr;
    if (problem == std::errc::result_out_of_range) {
        const bool negative = *start == '-';
        const std::string_view figures(start + negative, static_cast<std::size_t>(end - start - negative));
        const bool tiny = figures.front() == '.' || figures.substr(0, 2) == "0." ||
                          figures.find("e-") != std::string_view::npos ||
                          figures.find("E-") != std::string_view::npos;
        number = tiny ? Number{0} : std::numeric_limits<Number>::infinity();
        number = negative ? -number : number;
    }
    value = number;
    return end;
}

} // namespace vexa

#endif
