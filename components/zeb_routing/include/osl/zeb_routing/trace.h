#pragma once

#include <osl/zeb_routing/source.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::ZebRouting {

/// Where a copy of a packet leaves.
struct Exit
{
    std::optional<uint8_t> tso; ///< nullopt: to the processor
    uint16_t pid = 0;           ///< with which it leaves
    uint8_t filter = 0;         ///< of the processor; 255: none
    std::vector<std::string> outputs;
};

/// What feeds a TSI, and the enabled outputs of a TSO, in the order of facts.
std::vector<std::string> inputNames(const Routing& routing, uint8_t tsi);
std::vector<std::string> outputNames(const Routing& routing, uint8_t tso);

/// What happens to a packet.
struct Trace
{
    uint8_t tsi;
    uint16_t pid;
    std::vector<std::string> inputs{}; ///< that feed the TSI
    std::string by{};                  ///< the table that decides: "pidlut", "tsimap" or ""
    std::vector<std::string> steps{};  ///< in words
    std::vector<Exit> exits{};         ///< in the order of the list, the processor last
    std::string dropped{};             ///< why it gets nowhere; "" when it gets somewhere
};

/// Follows a packet as the FPGA does, which looks rows up by bisection.
Trace trace(const Source& source, uint8_t tsi, uint16_t pid);

/// A step a line.
std::string toText(const Trace& trace);
std::string toJson(const Trace& trace);

/// Some packets that leave at a TSO.
struct Origin
{
    Selector packets;
    std::optional<uint16_t> as; ///< the PID with which they leave; nullopt: each with its own
    std::vector<std::string> inputs;
};

/// Whose packets leave at a TSO, and, unless `pid` is nullopt, with this PID.
struct BackTrace
{
    uint8_t tso;
    std::optional<uint16_t> pid;
    std::vector<Origin> from;
};

BackTrace traceBack(const Source& source, uint8_t tso, std::optional<uint16_t> pid);
/// An origin a line; empty when there is none.
std::string toText(const BackTrace& trace);
std::string toJson(const BackTrace& trace);

/// What the words of a command mean; raise SourceError with a single problem.
/// "TSI:PID"
Selector parseTracePacket(std::string_view text);
/// "TSO" or "TSO:PID"
struct TsoPid
{
    uint8_t tso = 0;
    std::optional<uint16_t> pid;
};
TsoPid parseTraceOutput(std::string_view text);

} // namespace Osl::ZebRouting
