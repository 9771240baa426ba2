#pragma once

#include "zeb_fpga_shell/shell_cmd_module.h"

#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Osl::Utils {

/// A device as the commands of the interactive shell name it.
struct DesignatedDevice
{
    std::string designation;
    Drivers::Zeb::MappedDevice device;
};

/// Commands of the interactive shell that open the FPGA's devices and read and write their memory. A device stays open
/// from one command to the next, until it is closed or the module ends.
class FpgaCmdModule : public ShellCmdModule
{
public:
    /// Over the board's PID and input/output blocks.
    FpgaCmdModule();
    /// Over `devices`, whose paths must outlive the module.
    explicit FpgaCmdModule(std::vector<DesignatedDevice> devices);

private:
    using Arguments = std::vector<std::string>;

    struct Command
    {
        const char* name;
        const char* usage;
        const char* description;
        std::size_t minArguments;
        std::size_t maxArguments;
        void (FpgaCmdModule::*handler)(const Arguments& arguments, std::ostream& out);
    };

    struct Device
    {
        DesignatedDevice decl;
        std::unique_ptr<Pci::PciIf> memory; ///< null while the device is closed
    };

    static const std::array<Command, 6> COMMANDS;

    void run(const Command& command, const ParsedShellCmd& cmd, std::ostream& out);
    void open(const Arguments& arguments, std::ostream& out);
    void close(const Arguments& arguments, std::ostream& out);
    void read(const Arguments& arguments, std::ostream& out);
    void write(const Arguments& arguments, std::ostream& out);
    void readAll(const Arguments& arguments, std::ostream& out);
    void writeAll(const Arguments& arguments, std::ostream& out);

    Device& deviceOf(const std::string& designation);
    Device& openDeviceOf(const std::string& designation);
    std::vector<Device*> openDevices();

    std::vector<Device> m_Devices;
};

} // namespace Osl::Utils
