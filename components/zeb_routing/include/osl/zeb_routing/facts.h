#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A routing as engineers speak of it: a set of facts. All types here are small values; their order is the one in which
/// facts are printed.
namespace Osl::ZebRouting {

/// Where a stream comes from or goes to: an IPv4 address with a UDP port, or a physical port of the board.
struct Endpoint
{
    bool isPort = false;
    uint32_t address = 0; ///< host byte order; 0 for a port
    uint16_t number = 0;  ///< UDP port, or the index of the physical port

    static constexpr Endpoint ip(uint32_t address, uint16_t udpPort) { return {false, address, udpPort}; }
    static constexpr Endpoint port(uint8_t index) { return {true, 0, index}; }

    auto operator<=>(const Endpoint&) const = default;
};

/// "239.1.1.1:1234", or the port's name: "tuner0", "phys25" for one that has none.
std::string inputName(const Endpoint& at);
std::string outputName(const Endpoint& at);

/// Octets in the order of the text.
using Mac = std::array<uint8_t, 6>;
/// "01:00:5e:01:02:03"
std::string toString(const Mac& mac);
/// The address that an IPv4 multicast address gives; nullopt for another address.
std::optional<Mac> multicastMac(uint32_t address);

/// What feeds a TSI.
struct Input
{
    uint8_t tsi = 0;
    Endpoint from;

    auto operator<=>(const Input&) const = default;
};

/// Where a TSO goes: a row of the IP OUT MAP or of the PHYS OUT MAP.
struct Output
{
    uint8_t tso = 0;
    Endpoint to;
    // Of a row of the IP OUT MAP; an output to a port is enabled and has none of them.
    Mac mac{};
    bool rtp = false;
    bool enabled = true;

    auto operator<=>(const Output&) const = default;
};

/// A row of the FILTER TABLE that is in use.
struct Filter
{
    static constexpr uint32_t WHOLE_UNIT = 255;

    uint8_t filter = 0;
    uint32_t count = 0; ///< packets of each payload unit, or WHOLE_UNIT

    auto operator<=>(const Filter&) const = default;
};

/// One of the places that a packet goes to. Outputs come first, by TSO, then new PID; then the processor; then `drop`.
class Destination
{
public:
    static constexpr uint8_t NO_FILTER = 255;

    /// Through an output, as it is or with another PID.
    static constexpr Destination output(uint8_t tso) { return Destination(uint32_t{tso} << TSO_LSB); }
    static constexpr Destination output(uint8_t tso, uint16_t newPid)
    {
        return Destination(uint32_t{tso} << TSO_LSB | (newPid + 1U));
    }
    static constexpr Destination cpu(uint8_t filter = NO_FILTER) { return Destination(CPU | filter); }
    /// Nowhere.
    static constexpr Destination drop() { return Destination(DROP); }

    constexpr bool isOutput() const { return m_Code < CPU; }
    constexpr bool isCpu() const { return (m_Code & CPU) != 0; }
    constexpr bool isDrop() const { return m_Code == DROP; }

    constexpr uint8_t tso() const { return static_cast<uint8_t>(m_Code >> TSO_LSB); } ///< of an output
    /// Of an output; nullopt: the PID stays as it is.
    constexpr std::optional<uint16_t> newPid() const
    {
        const uint32_t next = m_Code & ((1U << TSO_LSB) - 1);
        return next == 0 ? std::nullopt : std::optional(static_cast<uint16_t>(next - 1));
    }
    constexpr uint8_t filter() const { return static_cast<uint8_t>(m_Code); } ///< of the processor

    auto operator<=>(const Destination&) const = default;

private:
    static constexpr unsigned TSO_LSB = 14; ///< above the new PID plus 1
    static constexpr uint32_t CPU = 1U << 30;
    static constexpr uint32_t DROP = 1U << 31;

    constexpr explicit Destination(uint32_t code) : m_Code(code) {}

    uint32_t m_Code;
};

/// Which packets a route takes.
struct Selector
{
    static constexpr uint16_t ALL_PIDS = 8192; ///< every PID without a route of its own: `*`

    uint8_t tsi = 0;
    uint16_t pid = 0; ///< 0..8191 or ALL_PIDS

    constexpr bool isWholeTsi() const { return pid == ALL_PIDS; }
    auto operator<=>(const Selector&) const = default;
};

/// "9:0x0100", "9:*"
std::string toString(const Selector& packets);

/// One destination of a route.
struct Route
{
    Selector packets;
    Destination to = Destination::drop();

    auto operator<=>(const Route&) const = default;
};

/// One destination, an output, of a replication list with a number that something outside the tables uses.
struct List
{
    uint16_t pidIdx = 0;
    Destination to = Destination::drop();

    auto operator<=>(const List&) const = default;
};

/// A set of facts of which no two contradict each other; each vector is sorted and holds nothing twice.
struct Routing
{
    std::vector<Input> inputs;
    std::vector<Output> outputs;
    std::vector<Filter> filters;
    std::vector<Route> routes;
    std::vector<List> lists;
    /// Whether it says anything about filters: a saved image does not.
    bool hasFilters = true;

    bool empty() const
    {
        return inputs.empty() && outputs.empty() && filters.empty() && routes.empty() && lists.empty();
    }
    bool operator==(const Routing&) const = default;
};

/// Calls `visit(member)` with a pointer to each of the vectors of Routing, in the order of printing.
template <class Visit>
void forEachKind(const Visit& visit)
{
    visit(&Routing::inputs);
    visit(&Routing::outputs);
    visit(&Routing::filters);
    visit(&Routing::routes);
    visit(&Routing::lists);
}

/// What leads from one routing to another.
struct Difference
{
    Routing removed;
    Routing added;

    bool empty() const { return removed.empty() && added.empty(); }
};

/// Filters are compared only where both routings say something about them.
Difference difference(const Routing& from, const Routing& to);

} // namespace Osl::ZebRouting
