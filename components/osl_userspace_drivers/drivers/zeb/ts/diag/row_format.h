#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tabledecl.h>

#include <string>
#include <vector>

namespace Osl::Drivers::Zeb {

/// A table's format, taken apart once for thousands of lines.
class RowFormat
{
public:
    /// `table` must outlive this.
    explicit RowFormat(const TableLayout& table);

    /// A row's line without its end.
    void append(std::string& line, uint32_t row, uint32_t wordOffset, std::span<const uint32_t> words) const;

private:
    enum class Style { DECIMAL, HEX, UPPER_HEX, FLAG, IP };

    struct Piece
    {
        std::string_view text; ///< before the value
        const Field* field;    ///< null: nothing but the text
        Style style;
        unsigned digits;
    };

    static Piece pieceOf(std::string_view text, const TableLayout& table, std::string_view placeholder);
    static void appendValue(std::string& line, const Piece& piece, uint32_t value);

    const TableLayout& m_Table;
    std::vector<Piece> m_Pieces;
};

} // namespace Osl::Drivers::Zeb
