#include <osl/userspace_drivers/interfaces/spi/spislaveif.h>

#include <fmt/format.h>

#include <algorithm>

namespace Osl::Spi {
namespace {

template <class Word>
std::vector<Word> narrowed(const std::vector<uint32_t>& words)
{
    std::vector<Word> result(words.size());
    std::transform(words.begin(), words.end(), result.begin(), [](uint32_t word) { return static_cast<Word>(word); });
    return result;
}

} // namespace

std::vector<uint16_t> SPISlaveIF::readBlock16(uint32_t offset, uint32_t count)
{
    return narrowed<uint16_t>(readWords(offset, count, 16));
}

std::vector<uint8_t> SPISlaveIF::readBlock8(uint32_t offset, uint32_t count)
{
    return narrowed<uint8_t>(readWords(offset, count, 8));
}

void SPISlaveIF::writeBlock16(uint32_t offset, const std::vector<uint16_t>& values)
{
    writeWords(offset, {values.begin(), values.end()}, 16);
}

void SPISlaveIF::writeBlock8(uint32_t offset, const std::vector<uint8_t>& values)
{
    writeWords(offset, {values.begin(), values.end()}, 8);
}

void SPISlaveIF::refuse(const SpiAccess& access, const std::string& reason) const
{
    OSL_RAISE(SPIError, fmt::format("{}: {} refused: {}", m_Bus.device(), toString(access), reason));
}

} // namespace Osl::Spi
