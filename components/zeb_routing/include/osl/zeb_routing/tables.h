#pragma once

#include <osl/cpputils/error.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Osl::ZebRouting {

struct RoutingError : CppUtil::PrefixedError<"Routing Error: ">
{
    using PrefixedError::PrefixedError;
};

/// The rows of all eight tables, as the FPGA holds them; of a table with two banks those of the active one.
class Tables
{
public:
    using Layout = Drivers::Zeb::TableLayout;

    /// All rows unused.
    Tables();
    /// The rows of an image, in which there is no FILTER TABLE: its rows are unused. Raises InvalidArgumentError for
    /// bytes that are no image.
    static Tables fromImage(std::span<const uint8_t> bytes);
    /// Reads the PID handling and the input/output block, again when a bank was switched meanwhile. Raises
    /// RoutingError when that never ends; errors of the device pass through.
    static Tables read(Drivers::IMemIf& pidMemory, Drivers::IMemIf& ioMemory);

    /// An image's bytes, check sum included.
    std::vector<uint8_t> toImage() const;
    /// Whether the FILTER TABLE is known.
    bool hasFilters() const { return m_HasFilters; }
    void setHasFilters(bool known) { m_HasFilters = known; }

    /// All words of one table.
    std::span<const uint32_t> words(const Layout& table) const;
    /// Words of one row.
    std::span<const uint32_t> row(const Layout& table, uint32_t row) const;
    void setRow(const Layout& table, uint32_t row, std::span<const uint32_t> words);

    /// Same words in all tables that both know.
    bool operator==(const Tables& other) const;

private:
    /// Words behind the tables of an image other than those of the FILTER TABLE are ignored.
    Tables(std::vector<uint32_t> words, bool hasFilters);

    std::vector<uint32_t> m_Words; ///< those of an image without the check sum, then the FILTER TABLE
    bool m_HasFilters = true;
};

/// Every row in use of every table, one a line, in the order of tables and rows: `pidlut 9:0x0100 pididx 7 out filter
/// 255`.
std::string rowText(const Tables& tables);
/// The lines of rowText() that differ: first those of `from` alone with "-" before them, then those of `to` with "+".
/// Empty when there are none. The FILTER TABLE is compared only where both tables know it.
std::string rowDifference(const Tables& from, const Tables& to);

} // namespace Osl::ZebRouting
