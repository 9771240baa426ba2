#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <fmt/compile.h>
#include <fmt/format.h>

#include <iterator>
#include <list>
#include <ostream>

namespace Osl::Drivers::Zeb {

/// Which rows of a table are wanted.
struct RowSelection
{
    uint32_t offset;
    uint32_t count;
    bool inactive;
    bool showAll;
};

using LineBuffer = fmt::memory_buffer;

/// All that tells the read-out of one table from that of the next.
template <class Entry>
struct TableReadOut
{
    const TableLayout& table;
    int rowDigits;
    bool (*isUnused)(const Entry& entry);
    void (*formatFields)(LineBuffer& line, uint32_t row, const Entry& entry);
};

/// Raises InvalidArgumentError for rows that the table does not have.
void checkRows(const TableLayout& table, const RowSelection& selection);
/// First word of the selected rows.
uint32_t firstWord(IMemIf& memory, const TableLayout& table, const RowSelection& selection);

inline const char* yesOrNo(bool flag) { return flag ? "YES" : "NO"; }

template <class... Args>
void append(LineBuffer& line, fmt::format_string<Args...> format, Args&&... args)
{
    fmt::format_to(std::back_inserter(line), format, std::forward<Args>(args)...);
}

/// The same for a FMT_COMPILE text, for tables of thousands of rows: three times as fast, for some 10 kB of code each.
template <class Compiled, class... Args>
void appendFast(LineBuffer& line, const Compiled& format, const Args&... args)
{
    fmt::format_to(std::back_inserter(line), format, args...);
}

/// Calls `visit(row, word offset, entry)` for each row of the selection that is in use, or each at all.
template <class Entry, class IsUnused, class Visit>
void visitRows(IMemIf& memory, const TableLayout& table, const RowSelection& selection, const IsUnused& isUnused,
               const Visit& visit)
{
    checkRows(table, selection);
    uint32_t word = firstWord(memory, table, selection);
    Entry entry;
    for (uint32_t i = 0; i < selection.count; ++i, word += table.wordsPerRow) {
        entry.setFromWords(memory.readBlock32(word, table.wordsPerRow));
        if (selection.showAll || !isUnused(entry))
            visit(selection.offset + i, word, entry);
    }
}

/// The lines of a read-out. They go on, and are flushed, in large pieces, since thousands of single writes take as long
/// as the read-out itself.
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

    LineBuffer& buffer() { return m_Lines; }

    void endLine()
    {
        m_Lines.push_back('\n');
        if (m_Lines.size() >= PIECE)
            handOn();
    }

    /// Hands on what is left; raises what the stream raises.
    void handOn()
    {
        const std::size_t size = m_Lines.size();
        m_Lines.clear(); // before the stream raises; the characters stay where they are
        m_Out.write(m_Lines.data(), static_cast<std::streamsize>(size)).flush();
    }

private:
    static constexpr std::size_t PIECE = 16384;

    std::ostream& m_Out;
    LineBuffer m_Lines;
};

template <class Entry>
void printTable(IMemIf& memory, const TableReadOut<Entry>& readOut, const RowSelection& selection, std::ostream& out)
{
    GatheredLines lines(out);
    visitRows<Entry>(memory, readOut.table, selection, readOut.isUnused,
                     [&](uint32_t row, uint32_t word, const Entry& entry) {
                         appendFast(lines.buffer(), FMT_COMPILE("{:0{}} (0x{:08x}): "), row, readOut.rowDigits, word);
                         readOut.formatFields(lines.buffer(), row, entry);
                         lines.endLine();
                     });
    lines.handOn();
}

template <class Entry, class IsUnused>
std::list<Entry> getTable(IMemIf& memory, const TableLayout& table, const RowSelection& selection,
                          const IsUnused& isUnused)
{
    std::list<Entry> entries;
    visitRows<Entry>(memory, table, selection, isUnused,
                     [&](uint32_t, uint32_t, const Entry& entry) { entries.push_back(entry); });
    return entries;
}

} // namespace Osl::Drivers::Zeb
