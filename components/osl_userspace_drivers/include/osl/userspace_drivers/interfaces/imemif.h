#pragma once

#include <osl/cpputils/error.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace Osl::Drivers {

struct DevMemError : CppUtil::PrefixedError<"Device memory Error: ">
{
    using PrefixedError::PrefixedError;
};

/// Kind of an access to device memory, direction and width.
enum class MemAccessType : uint32_t { R32 = 0, R16 = 1, R8 = 2, W32 = 3, W16 = 4, W8 = 5 };

/// "R32" … "W8"; "undefined" for a value outside the enumeration.
std::string_view toString(MemAccessType type);

/// Memory of one FPGA function, reached in accesses of 8, 16 or 32 bits. Offsets count words of the access width, from
/// the start of the function's memory. Every operation raises when the memory cannot be reached or the access does not
/// lie inside it, and then has touched nothing.
class IMemIf
{
public:
    virtual uint32_t read32(uint32_t offset) = 0;
    virtual uint16_t read16(uint32_t offset) = 0;
    virtual uint8_t read8(uint32_t offset) = 0;
    virtual void write32(uint32_t offset, uint32_t value) = 0;
    /// Only the low 16 bits of `value` are stored.
    virtual void write16(uint32_t offset, uint32_t value) = 0;
    /// Only the low 8 bits of `value` are stored.
    virtual void write8(uint32_t offset, uint32_t value) = 0;
    virtual std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) = 0;
    virtual std::vector<uint16_t> readBlock16(uint32_t offset, uint32_t count) = 0;
    virtual std::vector<uint8_t> readBlock8(uint32_t offset, uint32_t count) = 0;
    virtual void writeBlock32(uint32_t offset, const std::vector<uint32_t>& values) = 0;
    virtual void writeBlock16(uint32_t offset, const std::vector<uint16_t>& values) = 0;
    virtual void writeBlock8(uint32_t offset, const std::vector<uint8_t>& values) = 0;
    virtual ~IMemIf() = default;
};

} // namespace Osl::Drivers
