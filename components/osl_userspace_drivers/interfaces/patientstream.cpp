#include <osl/cpputils/error.h>
#include <osl/userspace_drivers/interfaces/patientstream.h>

#include <fmt/format.h>

#include <utility>

namespace Osl::Drivers {
namespace {

constexpr std::chrono::milliseconds SLICE(50);
/// A read that returns 0 this much before its time is up has met the end of the data.
constexpr std::chrono::milliseconds EARLY(10);

} // namespace

PatientStream::PatientStream(std::unique_ptr<IIOIf> device, std::string name, std::function<bool()> stopped,
                             std::function<std::chrono::steady_clock::time_point()> now)
    : m_Device(std::move(device)),
      m_Name(std::move(name)),
      m_Stopped(std::move(stopped)),
      m_Now(std::move(now))
{
}

std::size_t PatientStream::read(void* buffer, std::size_t length, std::chrono::milliseconds timeout)
{
    const auto start = m_Now();
    std::size_t count = 0;
    try {
        count = m_Device->read(buffer, length, timeout);
    } catch (const CppUtil::IOError&) {
        // Ctrl-C interrupts the wait, which the device cannot tell from a failure.
        if (!m_Stopped())
            throw;
    }
    if (count == 0 && !m_Stopped() && m_Now() - start + EARLY < timeout)
        OSL_RAISE(CppUtil::IOError, fmt::format("{} has ended: it delivers no more packets", m_Name));
    if (count != 0 && count != length)
        OSL_RAISE(CppUtil::IOError, fmt::format("{} delivered {} of the {} bytes of a packet", m_Name, count, length));
    return count;
}

std::size_t PatientStream::read(void* buffer, std::size_t length) { return read(buffer, length, SLICE); }

std::size_t PatientStream::write(const void* buffer, std::size_t length, std::chrono::milliseconds timeout)
{
    return m_Device->write(buffer, length, timeout);
}

std::size_t PatientStream::write(const void* buffer, std::size_t length) { return m_Device->write(buffer, length); }

} // namespace Osl::Drivers
