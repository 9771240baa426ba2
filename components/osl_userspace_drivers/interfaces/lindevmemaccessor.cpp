#include <osl/linutils/memory_fault.h>
#include <osl/userspace_drivers/interfaces/lindevmemaccessor.h>

#include <fmt/format.h>

namespace Osl::Drivers {
namespace {

uint64_t alignmentOf(MemAccessType type)
{
    switch (type) {
    case MemAccessType::R32:
    case MemAccessType::W32:
        return 4;
    case MemAccessType::R16:
    case MemAccessType::W16:
        return 2;
    case MemAccessType::R8:
    case MemAccessType::W8:
        return 1;
    }
    return 0;
}

// Texts are made apart from the accesses: a table takes thousands of these.
[[noreturn]] void raiseOutside(uint64_t byteOffset, uint64_t bytes)
{
    OSL_RAISE(DevMemError, fmt::format("Cannot access device memory. Byte offset {} and byte size {} crosses memory "
                                       "segment boundary",
                                       byteOffset, bytes));
}

[[noreturn]] void raiseMisaligned(uint64_t byteOffset, uint64_t bytes, MemAccessType type)
{
    OSL_RAISE(DevMemError, fmt::format("Cannot access device memory. Byte offset {}, byte size {} and memory access "
                                       "type \"{}\" causes invalid allignment.",
                                       byteOffset, bytes, toString(type)));
}

[[noreturn]] void raiseFault(int64_t byteOffset, MemAccessType type)
{
    OSL_RAISE(DevMemError, fmt::format("Device does not answer. Access of type \"{}\" at byte offset {} failed with a "
                                       "bus error",
                                       toString(type), byteOffset));
}

template <class Word, class Access>
void touch(volatile Word* first, uint32_t offset, MemAccessType type, const Access& access)
{
    if (const auto fault = LinuxCppUtil::guardMemoryFault(access)) {
        const auto distance = static_cast<const volatile char*>(*fault) - reinterpret_cast<volatile char*>(first);
        raiseFault(int64_t{offset} * int64_t{sizeof(Word)} + distance, type);
    }
}

} // namespace

void LinDevMemAccessor::checkAccess(const MemSegment& segment, uint64_t byteOffset, uint64_t bytes, MemAccessType type)
{
    if (byteOffset + bytes > segment.bytes)
        raiseOutside(byteOffset, bytes);
    const uint64_t alignment = alignmentOf(type); // a power of two: no division, which costs more than the access
    if (alignment == 0 || (byteOffset & (alignment - 1)) != 0)
        raiseMisaligned(byteOffset, bytes, type);
}

template <class Word>
volatile Word* LinDevMemAccessor::checkedAddress(uint32_t offset, uint64_t count, MemAccessType type)
{
    const MemSegment segment = getMemSegment();
    checkAccessible();
    checkAccess(segment, uint64_t{offset} * sizeof(Word), count * sizeof(Word), type);
    return static_cast<volatile Word*>(segment.base) + offset;
}

template <class Word>
Word LinDevMemAccessor::readSingle(uint32_t offset, MemAccessType type)
{
    volatile Word* const address = checkedAddress<Word>(offset, 1, type);
    Word value = 0;
    touch(address, offset, type, [address, &value] { value = *address; });
    return value;
}

template <class Word>
std::vector<Word> LinDevMemAccessor::readBlock(uint32_t offset, uint32_t count, MemAccessType type, Word marker)
{
    volatile Word* const address = checkedAddress<Word>(offset, count, type);
    std::vector<Word> values(count, marker);
    touch(address, offset, type, [address, count, out = values.data()] {
        for (uint32_t i = 0; i < count; ++i)
            out[i] = address[i];
    });
    return values;
}

template <class Word>
void LinDevMemAccessor::writeElements(uint32_t offset, const Word* values, std::size_t count, MemAccessType type)
{
    volatile Word* const address = checkedAddress<Word>(offset, count, type);
    touch(address, offset, type, [address, values, count] {
        for (std::size_t i = 0; i < count; ++i)
            address[i] = values[i];
    });
}

uint32_t LinDevMemAccessor::read32(uint32_t offset) { return readSingle<uint32_t>(offset, MemAccessType::R32); }
uint16_t LinDevMemAccessor::read16(uint32_t offset) { return readSingle<uint16_t>(offset, MemAccessType::R16); }
uint8_t LinDevMemAccessor::read8(uint32_t offset) { return readSingle<uint8_t>(offset, MemAccessType::R8); }

void LinDevMemAccessor::write32(uint32_t offset, uint32_t value)
{
    writeElements(offset, &value, 1, MemAccessType::W32);
}

void LinDevMemAccessor::write16(uint32_t offset, uint32_t value)
{
    const auto word = static_cast<uint16_t>(value);
    writeElements(offset, &word, 1, MemAccessType::W16);
}

void LinDevMemAccessor::write8(uint32_t offset, uint32_t value)
{
    const auto word = static_cast<uint8_t>(value);
    writeElements(offset, &word, 1, MemAccessType::W8);
}

std::vector<uint32_t> LinDevMemAccessor::readBlock32(uint32_t offset, uint32_t count)
{
    return readBlock<uint32_t>(offset, count, MemAccessType::R32, 0xDEADBEEF);
}

std::vector<uint16_t> LinDevMemAccessor::readBlock16(uint32_t offset, uint32_t count)
{
    return readBlock<uint16_t>(offset, count, MemAccessType::R16, 0xDEAD);
}

std::vector<uint8_t> LinDevMemAccessor::readBlock8(uint32_t offset, uint32_t count)
{
    return readBlock<uint8_t>(offset, count, MemAccessType::R8, 0xDE);
}

void LinDevMemAccessor::writeBlock32(uint32_t offset, const std::vector<uint32_t>& values)
{
    writeElements(offset, values.data(), values.size(), MemAccessType::W32);
}

void LinDevMemAccessor::writeBlock16(uint32_t offset, const std::vector<uint16_t>& values)
{
    writeElements(offset, values.data(), values.size(), MemAccessType::W16);
}

void LinDevMemAccessor::writeBlock8(uint32_t offset, const std::vector<uint8_t>& values)
{
    writeElements(offset, values.data(), values.size(), MemAccessType::W8);
}

} // namespace Osl::Drivers
