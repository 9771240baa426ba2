#pragma once

#include <osl/userspace_drivers/interfaces/imemif.h>

#include <cstdint>
#include <vector>

namespace Osl::Utils {

/// The accesses of device memory for one width, `Word` being uint8_t, uint16_t or uint32_t.
template <class Word>
struct WordAccess;

template <>
struct WordAccess<uint8_t>
{
    static constexpr auto READ = &Drivers::IMemIf::read8;
    static constexpr auto WRITE = &Drivers::IMemIf::write8;
    static constexpr auto READ_BLOCK = &Drivers::IMemIf::readBlock8;
    static constexpr auto WRITE_BLOCK = &Drivers::IMemIf::writeBlock8;
};

template <>
struct WordAccess<uint16_t>
{
    static constexpr auto READ = &Drivers::IMemIf::read16;
    static constexpr auto WRITE = &Drivers::IMemIf::write16;
    static constexpr auto READ_BLOCK = &Drivers::IMemIf::readBlock16;
    static constexpr auto WRITE_BLOCK = &Drivers::IMemIf::writeBlock16;
};

template <>
struct WordAccess<uint32_t>
{
    static constexpr auto READ = &Drivers::IMemIf::read32;
    static constexpr auto WRITE = &Drivers::IMemIf::write32;
    static constexpr auto READ_BLOCK = &Drivers::IMemIf::readBlock32;
    static constexpr auto WRITE_BLOCK = &Drivers::IMemIf::writeBlock32;
};

} // namespace Osl::Utils
