#pragma once

#include <chrono>
#include <cstddef>

namespace Osl::Drivers {

/// A stream device.
class IIOIf
{
public:
    /// Waits at most `timeout` for data, then reads up to `length` bytes; returns their number, 0 on time-out.
    virtual std::size_t read(void* buffer, std::size_t length, std::chrono::milliseconds timeout) = 0;
    /// Blocks until data is there; returns the number of bytes read, 0 at end of file.
    virtual std::size_t read(void* buffer, std::size_t length) = 0;
    /// Waits at most `timeout` for room, then writes up to `length` bytes; returns their number, 0 on time-out.
    virtual std::size_t write(const void* buffer, std::size_t length, std::chrono::milliseconds timeout) = 0;
    /// Blocks until there is room; returns the number of bytes written.
    virtual std::size_t write(const void* buffer, std::size_t length) = 0;
    virtual ~IIOIf() = default;
};

} // namespace Osl::Drivers
