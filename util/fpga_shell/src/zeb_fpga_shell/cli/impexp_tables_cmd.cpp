#include "zeb_fpga_shell/cli/impexp_tables_cmd.h"

#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/linutils/whole_file.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>

#include <array>
#include <vector>

namespace Osl::Utils {
namespace {

using namespace Drivers::Zeb;

constexpr std::array EXPORT_OPTIONS{
    OptionDecl{"f,file", OptionKind::PATH, "File for saving exported tables. If not given default will be used",
               "zeb_fpga_tables.bin"},
    HELP_OPTION,
};

constexpr std::array IMPORT_OPTIONS{
    OptionDecl{"f,file", OptionKind::PATH, "Mandatory! File containing table contents"},
    HELP_OPTION,
};

} // namespace

void ExportTablesCmd::addOptions(Options& options) { options.add(EXPORT_OPTIONS); }

int ExportTablesCmd::doCommand(Options& options, std::ostream&, std::istream&)
{
    const auto pidMemory = openDevice(PIDLUT_DEVICE.path, PIDLUT_DEVICE.mapSize);
    const auto ioMemory = openDevice(IPLUT_DEVICE.path, IPLUT_DEVICE.mapSize);
    const std::vector<uint8_t> image = toBytes(exportTables(*pidMemory, *ioMemory));
    LinuxCppUtil::writeWholeFile(options["file"].as<std::string>(), image);
    return 0;
}

void ImportTablesCmd::addOptions(Options& options) { options.add(IMPORT_OPTIONS); }

int ImportTablesCmd::doCommand(Options& options, std::ostream&, std::istream&)
{
    if (options.count("file") == 0)
        OSL_RAISE(ShellError, "Missing mandatory file option!!");
    // One byte more than an image has, so that a longer file is noticed without reading all of it.
    const std::vector<uint8_t> image = LinuxCppUtil::readWholeFile(options["file"].as<std::string>(), IMAGE_BYTES + 1);
    const auto pidMemory = openDevice(PIDLUT_DEVICE.path, PIDLUT_DEVICE.mapSize);
    const auto ioMemory = openDevice(IPLUT_DEVICE.path, IPLUT_DEVICE.mapSize);
    // Always in this order, so that no two commands wait for each other.
    const LinuxCppUtil::FileLock pidLock(pidMemory->descriptor(), PIDLUT_DEVICE.path, editPatience());
    const LinuxCppUtil::FileLock ioLock(ioMemory->descriptor(), IPLUT_DEVICE.path, editPatience());
    importTables(*pidMemory, *ioMemory, image);
    return 0;
}

} // namespace Osl::Utils
