#pragma once

#include <osl/userspace_drivers/interfaces/iioif.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Osl::Drivers {

/// A stream device whose plain read waits for a short time only and returns 0 when nothing came, so that its reader can
/// look at the clock and at Ctrl-C in between.
class PatientStream : public IIOIf
{
public:
    /// `name` is what messages call the device.
    PatientStream(std::unique_ptr<IIOIf> device, std::string name, std::function<bool()> stopped,
                  std::function<std::chrono::steady_clock::time_point()> now);

    std::size_t read(void* buffer, std::size_t length, std::chrono::milliseconds timeout) override;
    /// Raises IOError at the end of the device's data and for a record that is cut short.
    std::size_t read(void* buffer, std::size_t length) override;
    std::size_t write(const void* buffer, std::size_t length, std::chrono::milliseconds timeout) override;
    std::size_t write(const void* buffer, std::size_t length) override;

private:
    std::unique_ptr<IIOIf> m_Device;
    std::string m_Name;
    std::function<bool()> m_Stopped;
    std::function<std::chrono::steady_clock::time_point()> m_Now;
};

} // namespace Osl::Drivers
