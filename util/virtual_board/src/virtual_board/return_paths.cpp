#include "virtual_board/return_paths.h"

#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace Osl::VirtualBoard {

using Drivers::Zeb::SCM_PID_LUT;
namespace Ll = Ts::Ll;

namespace {

constexpr const auto& PID = SCM_PID_LUT.find("PID") -> at;
constexpr const auto& SCMIDX = SCM_PID_LUT.find("SCMIDX") -> at;
constexpr const auto& KEYIDX = SCM_PID_LUT.find("KEYIDX") -> at;

constexpr std::string_view SCRAMBLER = "scm"; ///< starts the name of its port, before its index
constexpr std::size_t MOST_WAITING = 4096;    ///< packets

} // namespace

ReturnPaths::ReturnPaths(const volatile uint32_t* scmBlock, Deliver deliver, Complain complain)
    : m_Block(scmBlock),
      m_Deliver(std::move(deliver)),
      m_Complain(std::move(complain))
{
    const auto& inputs = Drivers::Zeb::physicalInputs();
    for (const auto& [name, phyOIdx] : Drivers::Zeb::physicalOutputs()) {
        const auto input = inputs.find(name);
        if (input == inputs.end())
            continue;
        Path& path = m_Paths[phyOIdx] = {.phyIIdx = input->second};
        if (name.starts_with(SCRAMBLER))
            path.scmIdx = static_cast<uint32_t>(std::stoul(name.substr(SCRAMBLER.size())));
    }
}

/// Finds the row by bisection, as the hardware does.
void ReturnPaths::scramble(uint32_t scmIdx, uint8_t* packet) const
{
    constexpr uint8_t EVEN = 0x80; ///< scrambling control of the packet
    constexpr uint8_t ODD = 0xC0;
    constexpr uint8_t CONTROL = 0xC0;
    if (!Ll::hasPayload(packet) || Ll::pid(packet) == Ts::NULL_PID)
        return;
    const auto keyOf = [](uint32_t word) { return SCMIDX.get({&word, 1}) << PID.width | PID.get({&word, 1}); };
    const uint32_t key = scmIdx << PID.width | Ll::pid(packet);
    uint32_t first = SCM_PID_LUT.active(m_Block[SCM_PID_LUT.bankWord]);
    for (uint32_t end = first + SCM_PID_LUT.rows; first < end;) {
        const uint32_t middle = first + (end - first) / 2;
        const uint32_t word = m_Block[middle];
        if (keyOf(word) == key) {
            const bool odd = KEYIDX.get({&word, 1}) % 2 != 0;
            packet[3] = static_cast<uint8_t>((packet[3] & ~CONTROL) | (odd ? ODD : EVEN));
            return;
        }
        if (keyOf(word) < key)
            first = middle + 1;
        else
            end = middle;
    }
}

void ReturnPaths::take(uint32_t phyOIdx, const uint8_t* packet)
{
    const auto path = m_Paths.find(phyOIdx);
    if (path == m_Paths.end())
        return;
    // More passes than there are ports lead in a circle, and so does what becomes more and more.
    if (m_Passes == m_Paths.size() || m_Waiting.size() == MOST_WAITING) {
        if (!std::exchange(m_CircleReported, true))
            m_Complain("packets go round and round through CAMs and scramblers; they are dropped after " +
                       std::to_string(m_Paths.size()) + " passes");
        return;
    }
    Packet& waiting = m_Waiting.emplace_back();
    waiting.phyIIdx = path->second.phyIIdx;
    waiting.passes = m_Passes + 1;
    std::copy_n(packet, Ts::TS_SIZE, waiting.bytes.begin());
    if (path->second.scmIdx)
        scramble(*path->second.scmIdx, waiting.bytes.data());
}

void ReturnPaths::settle()
{
    while (!m_Waiting.empty()) {
        const Packet packet = m_Waiting.front();
        m_Waiting.pop_front();
        m_Passes = packet.passes;
        m_Deliver(packet.phyIIdx, packet.bytes.data());
    }
    m_Passes = 0;
}

} // namespace Osl::VirtualBoard
