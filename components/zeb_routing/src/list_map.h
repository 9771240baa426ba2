#pragma once

#include <osl/zeb_routing/translation.h>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace Osl::ZebRouting {

/// The rows of the O-PID MAP as they lead to one another; `tables` must outlive it. Any words are safe: chains end
/// where they loop.
class ListChains
{
public:
    explicit ListChains(const Tables& tables) : m_Words(tables.words(Drivers::Zeb::O_PID_MAP)) {}

    /// The rows from a PIDIDX on, disabled ones left out, each once.
    std::vector<uint16_t> rowsFrom(uint16_t pidIdx) const;
    /// Whether the chain from a PIDIDX on comes back to one of its own rows.
    bool loops(uint16_t pidIdx) const;

    bool isEnabled(uint16_t row) const;
    uint16_t next(uint16_t row) const; ///< 0: the end
    Destination destination(uint16_t row) const;

protected:
    static constexpr uint32_t ROWS = Drivers::Zeb::O_PID_MAP.rows;

private:
    std::span<const uint32_t> row(uint16_t row) const;

    std::span<const uint32_t> m_Words;
};

/// The same, with what takes a look at all rows.
class ListMap : public ListChains
{
public:
    explicit ListMap(const Tables& tables);

    /// Where all rows from a PIDIDX on lead.
    const Destinations& destinations(uint16_t pidIdx);

    /// The first rows of the chains of enabled rows that none of the `entries` leads to.
    std::vector<uint16_t> headsBeside(std::span<const uint16_t> entries) const;

private:
    uint16_t successor(uint16_t row) const { return m_FirstEnabled[next(row)]; }

    std::array<uint16_t, ROWS> m_FirstEnabled{}; ///< at or behind the row; 0: none
    std::vector<Destinations> m_Destinations;    ///< by first enabled row, as far as they were asked for
};

} // namespace Osl::ZebRouting
