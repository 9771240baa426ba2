#pragma once

#include <osl/userspace_drivers/interfaces/lindevmemaccessor.h>

#include <string>

namespace Osl::Pci {

struct PciError : CppUtil::PrefixedError<"PCI Error: ">
{
    using PrefixedError::PrefixedError;
};

/// Memory of a character device, mapped shared into the process from `mapOffset` on. Closes at the end of its life.
class PciIf : public Drivers::LinDevMemAccessor
{
public:
    /// Opens `path`, and maps `mapSize` bytes unless that is 0. Raises PciError; nothing stays open then.
    PciIf(std::string path, uint32_t mapSize, uint32_t mapOffset);
    ~PciIf() override;
    PciIf(const PciIf&) = delete;
    PciIf& operator=(const PciIf&) = delete;

    /// Opens the device for reading and writing; does nothing when it is open already.
    void open();
    /// Maps the device; does nothing when it is closed or mapped already. A regular file that ends before the mapping
    /// would is refused, since its missing pages could not be accessed.
    void map();
    /// Unmaps and closes; harmless when there is nothing to close.
    void close() noexcept;

    bool isOpen() const { return m_Descriptor != -1; }
    bool isMapped() const { return m_Base != nullptr; }
    /// Of the open device, for locking it; -1 when it is closed.
    int32_t descriptor() const { return m_Descriptor; }
    uint32_t mappedSize() const { return isMapped() ? m_MapSize : 0; }

    MemSegment getMemSegment() override;
    void checkAccessible() override;

private:
    [[noreturn]] void raiseInaccessible() const;
    bool endsBeforeMapping() const;

    std::string m_Path;
    int32_t m_Descriptor = -1;
    uint32_t m_MapSize;
    uint32_t m_MapOffset;
    void* m_Base = nullptr;
};

} // namespace Osl::Pci
