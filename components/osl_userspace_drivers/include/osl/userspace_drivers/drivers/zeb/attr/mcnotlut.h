#pragma once

#include <osl/cpputils/netaddress.h>
#include <osl/linutils/file_lock.h>

#include <cstdint>
#include <vector>

namespace Osl::Drivers::Zeb {

/// The multicast NOT filter of the network interface: a table of IPv4 addresses. Every operation reads the current
/// table, and changes it in one write or not at all; changes exclude each other. Raises CppUtil::FileSystemError when
/// an attribute cannot be read or written, LinuxCppUtil::LockError when another process keeps the table; a table
/// shorter than its size says is a broken kernel driver and fails an assertion.
class McNotLut
{
public:
    static constexpr uint32_t VACANT = 0; ///< value of an entry without an address

    /// `patience` is for changes.
    explicit McNotLut(LinuxCppUtil::LockPatience patience = {});

    /// The entries by index, each the value of a CppUtil::IpAdrContainer or VACANT.
    std::vector<uint32_t> read() const;

    /// Puts `address` into the vacant entry with the highest index, unless it is in the table already, as 0.0.0.0 is
    /// in every vacant entry. False, and nothing written, when no entry is vacant.
    bool add(CppUtil::IpAdrContainer address);

    /// Vacates the entry with the highest index that holds `address`. False, and nothing written, when there is none.
    bool clear(CppUtil::IpAdrContainer address);

private:
    void write(const std::vector<uint32_t>& table) const;

    LinuxCppUtil::LockPatience m_Patience;
};

} // namespace Osl::Drivers::Zeb
