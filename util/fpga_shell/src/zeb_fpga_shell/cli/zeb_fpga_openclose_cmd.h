#pragma once

#include "zeb_fpga_shell/cli/cli_cmd.h"

#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace Osl::Utils {

/// Opens a device and maps its first `mapSize` bytes; raises ShellError naming it when that fails.
std::unique_ptr<Pci::PciIf> openDevice(const std::string& path, uint32_t mapSize);

/// A command that works on the memory of one FPGA device, which is open and mapped for exactly the run of the body.
/// The user chooses the device: by designation ("router", "tsio", "pktio"), or by path with the bytes to map.
class ZEBFpgaOpenCloseCmd : public CliCmd
{
public:
    using CliCmd::CliCmd;

    /// Declares the device options and the help option; a derived command declares its own first, then calls this.
    void addOptions(Options& options) override;
    int doCommand(Options& options, std::ostream& out, std::istream& in) override;

protected:
    struct DeviceSettings
    {
        uint32_t mapSize; ///< bytes; 0 opens the device without mapping it
        std::string path;
    };

    /// The command's work on the open device; answers the exit status.
    virtual int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) = 0;
    virtual DeviceSettings getDeviceSettings(const Options& options) const;

    /// The open device; raises ShellError outside the body.
    Drivers::IMemIf& getMemIf() const;
    /// The open device for drivers that share ownership; they must not outlive the body. Empty outside the body.
    std::shared_ptr<Drivers::IMemIf> getContainedMemIf() const;
    /// Keeps other commands that edit the open device waiting, as this one waits for them, until the lock goes; readers
    /// do not ask for it. Raises LinuxCppUtil::LockError when another keeps the device for too long.
    LinuxCppUtil::FileLock lockDevice() const { return {m_Device->descriptor(), m_DevicePath, editPatience()}; }

private:
    std::string m_DevicePath;
    std::unique_ptr<Pci::PciIf> m_Device;
};

/// The same for a command whose device is fixed: the user has no say in it, so there are no device options.
class FixedDeviceCmd : public ZEBFpgaOpenCloseCmd
{
public:
    FixedDeviceCmd(const Drivers::Zeb::MappedDevice& device, std::string name, std::string usage,
                   std::string description, StopFlag stopFlag = {});

    void addOptions(Options& options) override { options.add(HELP_OPTION); }

protected:
    DeviceSettings getDeviceSettings(const Options&) const override { return {m_Device.mapSize, m_Device.path}; }

private:
    Drivers::Zeb::MappedDevice m_Device;
};

/// FixedDeviceCmd for a device known when the command is written.
template <const Drivers::Zeb::MappedDevice& DEVICE>
class DeviceOpenCloseCmd : public FixedDeviceCmd
{
public:
    DeviceOpenCloseCmd(std::string name, std::string usage, std::string description, StopFlag stopFlag = {})
        : FixedDeviceCmd(DEVICE, std::move(name), std::move(usage), std::move(description), std::move(stopFlag))
    {
    }
};

// Classes of their own, not other names of the template's, so that they can be declared ahead.
// clang-format off
class PIDLUTOpenCloseCmd : public DeviceOpenCloseCmd<Drivers::Zeb::PIDLUT_DEVICE> { using DeviceOpenCloseCmd::DeviceOpenCloseCmd; };
class IPLUTOpenCloseCmd  : public DeviceOpenCloseCmd<Drivers::Zeb::IPLUT_DEVICE>  { using DeviceOpenCloseCmd::DeviceOpenCloseCmd; };
class PKTIOOpenCloseCmd  : public DeviceOpenCloseCmd<Drivers::Zeb::PKTIO_DEVICE>  { using DeviceOpenCloseCmd::DeviceOpenCloseCmd; };
// clang-format on

} // namespace Osl::Utils
