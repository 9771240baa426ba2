#include "row_format.h"

#include <osl/cpputils/netaddress.h>

#include <array>
#include <charconv>

namespace Osl::Drivers::Zeb {
namespace {

constexpr std::string_view LOWER_DIGITS = "0123456789abcdef";
constexpr std::string_view UPPER_DIGITS = "0123456789ABCDEF";

void appendNumber(std::string& line, uint32_t value, uint32_t base, unsigned digits, std::string_view digitChars)
{
    std::array<char, 32> text{};
    std::size_t at = text.size();
    for (; value != 0 || at + digits > text.size() || at == text.size(); value /= base)
        text[--at] = digitChars[value % base];
    line.append(&text[at], text.size() - at);
}

} // namespace

RowFormat::RowFormat(const TableLayout& table) : m_Table(table)
{
    for (std::string_view rest = table.format; !rest.empty();) {
        const std::size_t open = std::min(rest.find('{'), rest.size());
        const std::size_t close = std::min(rest.find('}', open), rest.size());
        const std::string_view placeholder =
            open < close ? rest.substr(open + 1, close - open - 1) : std::string_view();
        m_Pieces.push_back(pieceOf(rest.substr(0, open), table, placeholder));
        rest.remove_prefix(std::min(close + 1, rest.size()));
    }
}

RowFormat::Piece RowFormat::pieceOf(std::string_view text, const TableLayout& table, std::string_view placeholder)
{
    const std::size_t colon = placeholder.find(':');
    const Field* const field = table.find(placeholder.substr(0, colon));
    Piece piece{text, field, field != nullptr && field->at.width == 1 ? Style::FLAG : Style::DECIMAL, 0};
    const std::string_view style = colon < placeholder.size() ? placeholder.substr(colon + 1) : std::string_view();
    if (style == "ip")
        piece.style = Style::IP;
    else if (style.ends_with('x'))
        piece.style = Style::HEX;
    else if (style.ends_with('X'))
        piece.style = Style::UPPER_HEX;
    std::from_chars(style.data(), style.data() + style.size(), piece.digits);
    return piece;
}

void RowFormat::append(std::string& line, uint32_t row, uint32_t wordOffset, std::span<const uint32_t> words) const
{
    appendNumber(line, row, 10, static_cast<unsigned>(m_Table.rowDigits), LOWER_DIGITS);
    line += " (0x";
    appendNumber(line, wordOffset, 16, 8, LOWER_DIGITS);
    line += "): ";
    for (const Piece& piece : m_Pieces) {
        line += piece.text;
        if (piece.field != nullptr)
            appendValue(line, piece, piece.field->isStored() ? piece.field->at.get(words) : row);
    }
}

void RowFormat::appendValue(std::string& line, const Piece& piece, uint32_t value)
{
    switch (piece.style) {
    case Style::DECIMAL:
        appendNumber(line, value, 10, piece.digits, LOWER_DIGITS);
        break;
    case Style::HEX:
        appendNumber(line, value, 16, piece.digits, LOWER_DIGITS);
        break;
    case Style::UPPER_HEX:
        appendNumber(line, value, 16, piece.digits, UPPER_DIGITS);
        break;
    case Style::FLAG:
        line += value != 0 ? "YES" : "NO";
        break;
    case Style::IP:
        line += CppUtil::IpAdrContainer(value).toString();
        break;
    }
}

} // namespace Osl::Drivers::Zeb
