#include "zeb_fpga_shell/cli/cammon_cmds.h"

#include <osl/cpputils/error.h>

#include <fmt/format.h>

#include <array>
#include <ostream>

namespace Osl::Utils {
namespace {

using Drivers::Zeb::CamMonitor;

constexpr OptionDecl slotOption(const char* help) { return {"S,slot", OptionKind::NUMBER, help, "0"}; }

constexpr std::array READ_OPTIONS{
    OptionDecl{"s,show_all", OptionKind::FLAG,
               "Reads out disabled (PID = 0x1FFF) entries, which are default filtered."},
    slotOption("CAM slot to read the monitor structures from"),
    HELP_OPTION,
};

constexpr std::array WRITE_OPTIONS{
    OptionDecl{"c,clear", OptionKind::FLAG, "Clears entry with given PID."},
    OptionDecl{"p,pid", OptionKind::NUMBER, "PID to clear/insert into the CAM monitor PID table"},
    slotOption("CAM slot to write the CAM monitor of"),
    HELP_OPTION,
};

constexpr std::array CLEAR_OPTIONS{
    slotOption("CAM slot to clear the CAM monitor of"),
    HELP_OPTION,
};

std::string lineOf(std::size_t index, const CamMonitor::Entry& entry)
{
    return fmt::format("{:02}: PID:0x{:04x}({:04}), PKT_CNT:0x{:05x}({:06}), ERR_CNT:0x{:05x}({:06})\n", index,
                       entry.pid, entry.pid, entry.packets, entry.packets, entry.errors, entry.errors);
}

} // namespace

CamMonitor CamMonCmd::monitorOf(const Options& options) const
{
    return CamMonitor(options["slot"].as<uint32_t>(), editPatience());
}

void CamMonReadCmd::addOptions(Options& options) { options.add(READ_OPTIONS); }

int CamMonReadCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const bool showAll = options.count("show_all") != 0;
    const std::vector<CamMonitor::Entry> entries = monitorOf(options).read();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (showAll || entries[i].pid != CamMonitor::DISABLED_PID)
            out << lineOf(i, entries[i]);
    }
    return 0;
}

void CamMonWriteCmd::addOptions(Options& options) { options.add(WRITE_OPTIONS); }

int CamMonWriteCmd::doCommand(Options& options, std::ostream&, std::istream&)
{
    if (options.count("pid") == 0)
        OSL_RAISE(CppUtil::InvalidArgumentError, "No PID value given!");
    const auto pid = options["pid"].as<uint32_t>();
    CamMonitor monitor = monitorOf(options);
    if (options.count("clear") != 0)
        monitor.remove(pid);
    else
        monitor.insert(pid);
    return 0;
}

void CamMonClearCmd::addOptions(Options& options) { options.add(CLEAR_OPTIONS); }

int CamMonClearCmd::doCommand(Options& options, std::ostream&, std::istream&)
{
    monitorOf(options).clear();
    return 0;
}

} // namespace Osl::Utils
