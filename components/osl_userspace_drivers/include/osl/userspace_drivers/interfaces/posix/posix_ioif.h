#pragma once

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/userspace_drivers/interfaces/iioif.h>

#include <string>

namespace Osl::Posix {

/// A stream device read through a file descriptor. Writing is not implemented. All failures are CppUtil::IOError or its
/// FileSystemError.
class PosixIOIf : public Drivers::IIOIf
{
public:
    PosixIOIf(const std::string& path, bool readOnly);
    /// Takes over a descriptor that was opened elsewhere, for reading only or not.
    PosixIOIf(LinuxCppUtil::UniqueFD descriptor, bool readOnly);

    /// Time-outs of 1000 ms and more are refused as a failed select: wait in slices below that.
    std::size_t read(void* buffer, std::size_t length, std::chrono::milliseconds timeout) override;
    std::size_t read(void* buffer, std::size_t length) override;
    std::size_t write(const void* buffer, std::size_t length, std::chrono::milliseconds timeout) override;
    std::size_t write(const void* buffer, std::size_t length) override;

    /// Of the open device, for locking it.
    int descriptor() const { return *m_Descriptor; }

private:
    LinuxCppUtil::UniqueFD m_Descriptor;
};

} // namespace Osl::Posix
