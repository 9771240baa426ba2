#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace Osl::VirtualBoard {

/// Where routed packets go.
class IPacketSinks
{
public:
    virtual ~IPacketSinks() = default;
    /// A TS packet of 188 bytes for the processor.
    virtual void toCpu(uint8_t tsi, const uint8_t* packet) = 0;
    /// One for a stream output.
    virtual void toOutput(uint8_t tso, const uint8_t* packet) = 0;
    /// Something that real hardware would choke on.
    virtual void complain(const std::string& what) = 0;
};

/// Routes packets as the tables in the PID handling block say at that moment, and counts them there. Reads the memory
/// anew for every packet, since other processes change it.
class Router
{
public:
    /// `pidBlock` are the block's words; they and `sinks` must outlive the router.
    Router(volatile uint32_t* pidBlock, IPacketSinks& sinks) : m_Block(pidBlock), m_Sinks(sinks) {}

    /// A packet of a stream input.
    void fromInput(uint8_t tsi, const uint8_t* packet);
    /// A packet that enters at a row of the O-PID MAP, 1..4095.
    void fromPidIdx(uint32_t pidIdx, const uint8_t* packet);
    /// A packet that leaves through an output.
    void throughOutput(uint8_t tso, const uint8_t* packet);

    /// Complains when the active bank of the PID LUT is not sorted, or has a key twice, in two calls; once until that
    /// changes. To be called when the table may have changed, until it returns true.
    bool checkPidLut();

private:
    std::optional<Drivers::Zeb::PidLutEntry> findInBank(uint32_t base, uint32_t key) const;
    std::optional<Drivers::Zeb::PidLutEntry> find(uint32_t key) const;
    std::string faultIn(uint32_t base) const;
    bool passesFilter(uint32_t key, uint32_t filterIndex, const uint8_t* packet);
    void count(uint32_t firstCounterWord, uint32_t index);

    volatile uint32_t* m_Block;
    IPacketSinks& m_Sinks;
    std::map<uint32_t, uint32_t> m_FilterCredit; ///< by PID LUT key: packets of the payload unit that may still pass
    std::string m_SuspectedFault;                ///< of the active bank, as it was at the last check
    std::string m_Fault;                         ///< which was reported
    bool m_ReservedRowReported = false;
    std::set<uint32_t> m_LoopsReported; ///< PIDIDX at which looping lists were entered
};

} // namespace Osl::VirtualBoard
