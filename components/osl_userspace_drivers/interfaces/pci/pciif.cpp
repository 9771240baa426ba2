#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Osl::Pci {

PciIf::PciIf(std::string path, uint32_t mapSize, uint32_t mapOffset)
    : m_Path(std::move(path)),
      m_MapSize(mapSize),
      m_MapOffset(mapOffset)
{
    open();
    if (m_MapSize == 0)
        return;
    try {
        map();
    } catch (...) {
        close();
        throw;
    }
}

PciIf::~PciIf() { close(); }

void PciIf::open()
{
    if (isOpen())
        return;
    const int descriptor = ::open(m_Path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor == -1)
        OSL_RAISE(PciError,
                  fmt::format("Could not open device at path: {}. Error: \"{}\"", m_Path, std::strerror(errno)));
    m_Descriptor = descriptor;
}

bool PciIf::endsBeforeMapping() const
{
    struct stat status = {};
    return ::fstat(m_Descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<uint64_t>(status.st_size) < uint64_t{m_MapOffset} + m_MapSize;
}

void PciIf::map()
{
    if (m_Descriptor < 0 || m_Base != nullptr)
        return;
    void* const base = endsBeforeMapping() ? MAP_FAILED
                                           : ::mmap(nullptr, m_MapSize, PROT_READ | PROT_WRITE, MAP_SHARED,
                                                    m_Descriptor, static_cast<off_t>(m_MapOffset));
    if (base == MAP_FAILED || base == nullptr)
        OSL_RAISE(PciError, fmt::format("Failed mmap of {} bytes (offset: {}) from device: {}. ", m_MapSize,
                                        m_MapOffset, m_Path));
    m_Base = base;
}

void PciIf::close() noexcept
{
    if (m_Base != nullptr)
        ::munmap(m_Base, m_MapSize);
    m_Base = nullptr;
    if (m_Descriptor != -1)
        ::close(m_Descriptor);
    m_Descriptor = -1;
}

Drivers::LinDevMemAccessor::MemSegment PciIf::getMemSegment()
{
    // Sizes of 2 GiB and more read as negative and give no access at all: no device of the board is that large.
    const bool negative = static_cast<int32_t>(m_MapSize) < 0;
    return {.bytes = negative ? 0 : m_MapSize, .base = m_Base};
}

void PciIf::checkAccessible()
{
    if (!isOpen() || !isMapped())
        raiseInaccessible();
}

void PciIf::raiseInaccessible() const
{
    if (!isOpen())
        OSL_RAISE(PciError, fmt::format("Cannot access device memory. Device {} is not open.", m_Path));
    OSL_RAISE(PciError,
              fmt::format("Cannot access device memory. Device {} has no memory mapped into user space.", m_Path));
}

} // namespace Osl::Pci
