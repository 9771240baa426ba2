#include <osl/cpputils/alignment.h>
#include <osl/cpputils/assertion.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <cerrno>
#include <ctime>
#include <utility>

namespace Osl::Drivers::Zeb {
namespace {

using CppUtil::is_aligned;

void sleepMillisecond()
{
    timespec left{.tv_sec = 0, .tv_nsec = 1'000'000};
    while (::nanosleep(&left, &left) == -1 && errno == EINTR)
        continue;
}

} // namespace

PktIODriver::PktIODriver(std::shared_ptr<IMemIf> pktIoMemIf, Pause pause)
    : m_PktIoMemIf(std::move(pktIoMemIf)),
      m_Pause(pause ? std::move(pause) : sleepMillisecond)
{
    OSL_ASSERT(static_cast<bool>(m_PktIoMemIf));
    checkLengths();
}

PktIODriver::PktIODriver(std::shared_ptr<IMemIf> pktIoMemIf, std::unique_ptr<IIOIf> ioIf, Pause pause)
    : m_PktIoMemIf(std::move(pktIoMemIf)),
      m_OptIOIF(std::move(ioIf)),
      m_Pause(pause ? std::move(pause) : sleepMillisecond)
{
    OSL_ASSERT(static_cast<bool>(m_PktIoMemIf));
    OSL_ASSERT(static_cast<bool>(m_OptIOIF));
    checkLengths();
}

/// The records that callers hand in are laid out for these lengths.
void PktIODriver::checkLengths() const
{
    // Its own lengths: called by constructors, this does not see those of a derived driver.
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
    OSL_ASSERT(getCustomHeaderLength() == HEADER_SIZE);
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
    OSL_ASSERT(getCustomPacketLength() == TOTAL_PKT_SIZE);
}

std::string PktIODriver::getName() const { return "Ostrel ZEB Transport Stream Packet I/O Top Level Driver"; }

std::string PktIODriver::getDescription() const
{
    return "Top level driver for the ZEB transport stream packet input/output FPGA implemented hardware.";
}

void PktIODriver::reset()
{
    m_PktIoMemIf->write32(PktIoReg::RESET, 1);
    m_PktIoMemIf->write32(PktIoReg::RESET, 0);
}

bool PktIODriver::takePacket(uint32_t* record)
{
    if (m_PktIoMemIf->read32(PktIoReg::RX_STATUS) == 0)
        return false;
    record[0] = m_PktIoMemIf->read32(PktIoReg::RX_HEADER);
    for (uint32_t i = 0; i < PktIoReg::TS_WORDS; ++i)
        record[1 + i] = m_PktIoMemIf->read32(PktIoReg::RX_DATA + i);
    m_PktIoMemIf->write32(PktIoReg::RX_CONTROL, m_PktIoMemIf->read32(PktIoReg::RX_CONTROL) | 1);
    return true;
}

bool PktIODriver::readPacket(uint32_t* pBuffer, const uint64_t& timeout)
{
    if (m_OptIOIF)
        return m_OptIOIF->read(pBuffer, TOTAL_PKT_SIZE) == TOTAL_PKT_SIZE;

    OSL_ASSERT(is_aligned(pBuffer, 4));
    for (uint64_t pausesLeft = timeout; !takePacket(pBuffer); --pausesLeft) {
        if (pausesLeft == 0)
            return false;
        m_Pause();
    }
    return true;
}

void PktIODriver::writePacket(const uint32_t* pBuffer)
{
    OSL_ASSERT(is_aligned(pBuffer, 4));
    writePacket(pBuffer + 1, pBuffer[0]);
}

void PktIODriver::writePacket(const uint32_t* pBuffer, uint32_t header)
{
    OSL_ASSERT(is_aligned(pBuffer, 4));
    while (m_PktIoMemIf->read32(PktIoReg::TX_STATUS) == 0)
        m_Pause();
    m_PktIoMemIf->write32(PktIoReg::TX_HEADER, header);
    for (uint32_t i = 0; i < PktIoReg::TS_WORDS; ++i)
        m_PktIoMemIf->write32(PktIoReg::TX_DATA + i, pBuffer[i]);
    m_PktIoMemIf->write32(PktIoReg::TX_CONTROL, 1);
}

} // namespace Osl::Drivers::Zeb
