#include <osl/cpputils/error.h>
#include <osl/cpputils/stringutils.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Osl::CppUtil {
namespace {

bool isHexDigit(char c) { return hexCharToNibble(c) >= 0; }

} // namespace

int hexCharToNibble(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

std::string hexStringToBytes(const std::string& text)
{
    if (text.empty() || text.size() % 2 != 0)
        OSL_RAISE(ParsingError, "Invalid string length, must contain a non-zero and even number of characters.");
    if (!std::all_of(text.begin(), text.end(), isHexDigit))
        OSL_RAISE(ParsingError, "Invalid found character in string");

    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes += static_cast<char>(hexCharToNibble(text[i]) * 16 + hexCharToNibble(text[i + 1]));
    return bytes;
}

std::optional<uint32_t> parseUint32(std::string_view text)
{
    const bool hex = text.starts_with("0x");
    const std::string_view digits = hex ? text.substr(2) : text;
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
    if (error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return value;
}

bool isNumber(const std::string& text)
{
    std::string_view digits = text;
    if (digits.starts_with('-'))
        digits.remove_prefix(1);
    if (digits.starts_with("0x"))
        digits.remove_prefix(2);
    return !digits.empty() && std::all_of(digits.begin(), digits.end(), isHexDigit);
}

bool isUpperCaseWord(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::vector<std::string> split(const std::string& text, char delimiter)
{
    if (text.empty())
        return {};
    std::vector<std::string> pieces(1);
    for (const char c : text) {
        if (c == delimiter)
            pieces.emplace_back();
        else
            pieces.back() += c;
    }
    return pieces;
}

std::string trimLeft(const std::string& text)
{
    const auto isSpace = [](unsigned char c) { return std::isspace(c) != 0; };
    return {std::find_if_not(text.begin(), text.end(), isSpace), text.end()};
}

std::string toLower(const std::string& text)
{
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string lastChars(const std::string& text, std::size_t count)
{
    return count >= text.size() ? text : text.substr(text.size() - count);
}

std::string slashesToUnderscores(const std::string& text)
{
    std::string result = text;
    std::replace(result.begin(), result.end(), '/', '_');
    return result;
}

bool endsWith(const std::string& suffix, const std::string& text) { return text.ends_with(suffix); }

} // namespace Osl::CppUtil
