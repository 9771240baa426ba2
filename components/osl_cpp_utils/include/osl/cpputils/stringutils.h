#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::CppUtil {

/// Times of day as ECMAScript regular expressions. The dot before the hundredths matches any character, as scripts
/// that were written against it expect.
inline constexpr const char* TIME_HUNDREDTHS_PATTERN = "(?:[01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9].[0-9][0-9]";
inline constexpr const char* TIME_SECONDS_PATTERN = "(?:[01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9]";
inline constexpr const char* TIME_MINUTES_PATTERN = "(?:[01][0-9]|2[0-3]):[0-5][0-9]";

/// 0..15, or -1 for a character that is not a hexadecimal digit.
int hexCharToNibble(char digit);

/// Bytes of a text of digit pairs, the high nibble first; no prefix, no separators.
/// Raises ParsingError for an odd or zero length and for other characters.
std::string hexStringToBytes(const std::string& text);

/// Unsigned 32-bit value of a whole text: digits, or "0x" and hexadecimal digits; nullopt for anything else.
std::optional<uint32_t> parseUint32(std::string_view text);

/// The shape of a number: optional "-", optional "0x", one or more hexadecimal digits. The caller chooses the base.
bool isNumber(const std::string& text);

/// One or more of A..Z and nothing else.
bool isUpperCaseWord(const std::string& text);

/// Pieces between delimiters, empty ones included; an empty text has none.
std::vector<std::string> split(const std::string& text, char delimiter);

std::string trimLeft(const std::string& text);
std::string toLower(const std::string& text);
std::string lastChars(const std::string& text, std::size_t count);
std::string slashesToUnderscores(const std::string& text);
bool endsWith(const std::string& suffix, const std::string& text);

} // namespace Osl::CppUtil
