#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

#include "zeb_fpga_shell/shell_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace Osl::Utils {
namespace {

struct Designation
{
    const char* word;
    const Drivers::Zeb::MappedDevice& device;
};

constexpr std::array DESIGNATIONS{
    Designation{"router", Drivers::Zeb::PIDLUT_DEVICE},
    Designation{"tsio", Drivers::Zeb::IPLUT_DEVICE},
    Designation{"pktio", Drivers::Zeb::PKTIO_DEVICE},
};

std::vector<std::string_view> designations()
{
    std::vector<std::string_view> words;
    for (const Designation& row : DESIGNATIONS)
        words.emplace_back(row.word);
    return words;
}

constexpr std::array DEVICE_OPTIONS{
    OptionDecl{"d,device", OptionKind::PATH, "Memory mapping device to open.", "", designations},
    OptionDecl{"m,mmapsize", OptionKind::NUMBER, "Number of bytes to map from device memory.", "0"},
    HELP_OPTION,
};

} // namespace

std::unique_ptr<Pci::PciIf> openDevice(const std::string& path, uint32_t mapSize)
{
    try {
        return std::make_unique<Pci::PciIf>(path, mapSize, 0);
    } catch (const Pci::PciError& error) {
        OSL_RAISE(ShellError,
                  fmt::format("Cannot open device {}. Driver interface returned: \"{}\".", path, error.what()));
    }
}

void ZEBFpgaOpenCloseCmd::addOptions(Options& options) { options.add(DEVICE_OPTIONS); }

ZEBFpgaOpenCloseCmd::DeviceSettings ZEBFpgaOpenCloseCmd::getDeviceSettings(const Options& options) const
{
    const auto device = options["device"].as<std::string>();
    const auto found =
        std::find_if(DESIGNATIONS.begin(), DESIGNATIONS.end(), [&](const auto& row) { return device == row.word; });
    if (found != DESIGNATIONS.end())
        return {found->device.mapSize, found->device.path};
    return {options["mmapsize"].as<uint32_t>(), device};
}

int ZEBFpgaOpenCloseCmd::doCommand(Options& options, std::ostream& out, std::istream& in)
{
    const DeviceSettings settings = getDeviceSettings(options);
    m_DevicePath = settings.path;
    m_Device = openDevice(settings.path, settings.mapSize);
    const auto close = [](ZEBFpgaOpenCloseCmd* self) { self->m_Device.reset(); };
    const std::unique_ptr<ZEBFpgaOpenCloseCmd, decltype(close)> closesDevice(this, close);
    return doFpgaCommand(options, out, in);
}

Drivers::IMemIf& ZEBFpgaOpenCloseCmd::getMemIf() const
{
    if (!m_Device)
        OSL_RAISE(ShellError, "Cannot access device, device not open!");
    return *m_Device;
}

std::shared_ptr<Drivers::IMemIf> ZEBFpgaOpenCloseCmd::getContainedMemIf() const
{
    return {m_Device.get(), [](Drivers::IMemIf*) {}};
}

} // namespace Osl::Utils
