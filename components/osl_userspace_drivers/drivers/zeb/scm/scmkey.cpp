#include <osl/userspace_drivers/drivers/zeb/scm/scmkey.h>

#include <fmt/format.h>

#include <charconv>

namespace Osl::Drivers::Zeb {
namespace {

constexpr std::size_t WORD_DIGITS = 8;

} // namespace

std::optional<ScmKey> parseScmKey(std::string_view digits)
{
    ScmKey key{};
    if (digits.size() != key.size() * WORD_DIGITS)
        return std::nullopt;
    for (std::size_t word = 0; word < key.size(); ++word) {
        const std::string_view text = digits.substr(digits.size() - (word + 1) * WORD_DIGITS, WORD_DIGITS);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), key.at(word), 16);
        if (error != std::errc() || end != text.data() + text.size())
            return std::nullopt;
    }
    return key;
}

std::string toString(const ScmKey& key)
{
    return fmt::format("{:08X}{:08X}{:08X}{:08X}", key[3], key[2], key[1], key[0]);
}

} // namespace Osl::Drivers::Zeb
