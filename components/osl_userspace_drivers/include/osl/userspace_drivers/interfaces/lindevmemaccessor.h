#pragma once

#include <osl/userspace_drivers/interfaces/imemif.h>

namespace Osl::Drivers {

/// IMemIf over a plain memory segment that the derived class supplies. Each access is checked (accessible, inside the
/// segment, aligned, in this order), then made with exactly one load or store of its width per element, ascending.
/// One thread at a time.
class LinDevMemAccessor : public IMemIf
{
public:
    struct MemSegment
    {
        uint32_t bytes;
        void* base; ///< null when nothing is mapped; aligned for 32-bit accesses otherwise
    };

    uint32_t read32(uint32_t offset) override;
    uint16_t read16(uint32_t offset) override;
    uint8_t read8(uint32_t offset) override;
    void write32(uint32_t offset, uint32_t value) override;
    void write16(uint32_t offset, uint32_t value) override;
    void write8(uint32_t offset, uint32_t value) override;
    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) override;
    std::vector<uint16_t> readBlock16(uint32_t offset, uint32_t count) override;
    std::vector<uint8_t> readBlock8(uint32_t offset, uint32_t count) override;
    void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) override;
    void writeBlock16(uint32_t offset, const std::vector<uint16_t>& values) override;
    void writeBlock8(uint32_t offset, const std::vector<uint8_t>& values) override;

    /// The current segment; fetched before every access, so a closed or remapped device is noticed.
    virtual MemSegment getMemSegment() = 0;

    /// Called before every access; a derived class raises when its memory is not available.
    virtual void checkAccessible() {}

protected:
    /// Raises DevMemError when the access crosses the segment's end or is not aligned for its type.
    void checkAccess(const MemSegment& segment, uint64_t byteOffset, uint64_t bytes, MemAccessType type);

private:
    template <class Word>
    std::vector<Word> readBlock(uint32_t offset, uint32_t count, MemAccessType type, Word marker);
    template <class Word>
    void writeElements(uint32_t offset, const Word* values, std::size_t count, MemAccessType type);
    template <class Word>
    Word readSingle(uint32_t offset, MemAccessType type);
    template <class Word>
    volatile Word* checkedAddress(uint32_t offset, uint64_t count, MemAccessType type);
};

} // namespace Osl::Drivers
