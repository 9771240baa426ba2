#include "row_format.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>

#include <ostream>
#include <string>

namespace Osl::Drivers::Zeb {
namespace {

/// The lines of a read-out, gathered into pieces.
class GatheredLines
{
public:
    explicit GatheredLines(std::ostream& out) : m_Out(out) {}
    /// A device that fails must not take the lines before with it. They are all that can be saved then: the failure is
    /// on its way already, and a stream that raises as well has nobody to tell.
    ~GatheredLines()
    {
        try {
            handOn();
        } catch (...) { // NOLINT(bugprone-empty-catch)
        }
    }
    GatheredLines(const GatheredLines&) = delete;
    GatheredLines& operator=(const GatheredLines&) = delete;

    std::string& buffer() { return m_Lines; }

    void endLine()
    {
        m_Lines.push_back('\n');
        if (m_Lines.size() >= PIECE)
            handOn();
    }

    /// Hands on what is left; raises what the stream raises.
    void handOn()
    {
        m_Piece.swap(m_Lines);
        m_Lines.clear(); // before the stream raises
        m_Out.write(m_Piece.data(), static_cast<std::streamsize>(m_Piece.size())).flush();
    }

private:
    static constexpr std::size_t PIECE = 16384;

    std::ostream& m_Out;
    std::string m_Lines;
    std::string m_Piece; ///< that is handed on
};

} // namespace

void printTable(IMemIf& memory, const TableLayout& table, const RowSelection& selection, std::ostream& out)
{
    const RowFormat format(table);
    GatheredLines lines(out);
    visitRows(
        memory, table, selection, [&table](const auto& words) { return table.isUnused(words); },
        [&](uint32_t row, uint32_t offset, const std::vector<uint32_t>& words) {
            if (!out)
                return; // nobody reads on
            format.append(lines.buffer(), row, offset, words);
            lines.endLine();
        });
    lines.handOn();
}

} // namespace Osl::Drivers::Zeb
