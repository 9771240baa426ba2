#include "zeb_fpga_shell/cli/table_write_cmds.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <array>
#include <list>

namespace Osl::Utils {
namespace {

using namespace Drivers::Zeb;
using Memory = std::shared_ptr<Drivers::IMemIf>;

constexpr OptionDecl number(const char* names, const char* help, const char* defaultValue = nullptr)
{
    return {names, OptionKind::NUMBER, help, defaultValue};
}
constexpr OptionDecl text(const char* names, const char* help, const char* defaultValue)
{
    return {names, OptionKind::TEXT, help, defaultValue};
}
constexpr OptionDecl flag(const char* names, const char* help) { return {names, OptionKind::FLAG, help}; }

constexpr OptionDecl TSIIDX_OPTION = number("t,tsiidx", "TSIIDX of the entry (0-255).");
constexpr OptionDecl TSOIDX_OPTION = number("t,tsoidx", "TSOIDX of the entry (0-255).");
constexpr OptionDecl PIDIDX_OPTION = number("P,pididx", "PIDIDX of the entry (1-4095).", "4095");
constexpr const char* IP_HELP = "Destination IP address of the UDP multicast stream, carrying the transport stream.";
constexpr OptionDecl PORT_OPTION =
    number("p,port", "Destination port of the UDP multicast stream, carrying the transport stream.", "65535");
// The IP OUT command, too, speaks of the TSIIDX here; users know it so.
constexpr OptionDecl IP_CLEAR_OPTION =
    flag("c,clear", "Clears the entry with the given TSIIDX. IP and port are ignored.");

constexpr std::array IP_LUT_OPTIONS{TSIIDX_OPTION, text("i,ip", IP_HELP, "255.255.255.255"), PORT_OPTION,
                                    IP_CLEAR_OPTION};

constexpr std::array PHYS_OUT_MAP_OPTIONS{
    TSOIDX_OPTION,
    number("p,phyoidx", "PHYIDX of the output interface (0-15). E.g. 0 for qam0 on the ZEB QAM output board", "31"),
    flag("c,clear", "Clears the entry with the given TSOIDX. IP and port are ignored."),
};

constexpr std::array PHYS_IN_MAP_OPTIONS{
    number("p,phyiidx", "PHYIIDX of the output interface (0-63). E.g. 0 for tuner0 on the ZEB Main board", "63"),
    TSIIDX_OPTION,
    flag("c,clear", "Clears the entry with the given PHYIDX."),
};

constexpr std::array PID_LUT_OPTIONS{
    TSIIDX_OPTION,
    number("p,pid", "PID value of the entry (0-8190).", "8191"),
    PIDIDX_OPTION,
    flag("C,route_cpu",
         "If set, the FPGA will route the packets, designated by the entry value, to the CPU interface."),
    flag("O,route_output",
         "If set, the FPGA will route the packets, designated by the entry value, to the output interface."),
    flag("c,clear", "Clears the entry with the given TSIIDX/PID. If only TSIDX is given all entries of the particular "
                    "TSIIDX will be cleared."),
    number("f,filtidx", "Filter tab index (0-255). If set to 255 filtering is bypassed"),
};

constexpr std::array TSI_MAP_OPTIONS{TSIIDX_OPTION, PIDIDX_OPTION,
                                     flag("c,clear", "Clears the entry with the given TSIIDX.")};

constexpr std::array O_PID_MAP_OPTIONS{
    PIDIDX_OPTION,
    number("p,opid", "Output pid value of the entry. If given re-mapping is enabled (0-8191)."),
    TSOIDX_OPTION,
    number("N,next_pididx", "Next PIDIDX in the replication linked list. Terminate list with PIDIDX 0."),
    flag("c,clear", "Clears the entry with the given PIDIDX."),
};

constexpr std::array FILTER_TABLE_OPTIONS{
    number("f,filtidx", "Filter table index of the entry (0-254)."),
    number("n,count_val",
           "Filter count value. If set to zero, no packets will be passed. If set to [1-254] the given number of "
           "packets will be passed, if they fit within the same payload unit. If set to 255 a complete payload unit "
           "will be passed."),
    flag("c,clear", "Clears the entry with the given Filter table index."),
};

constexpr std::array IP_OUT_MAP_OPTIONS{
    TSOIDX_OPTION,
    text("i,ip", IP_HELP, "239.192.0.42"),
    PORT_OPTION,
    flag("r,rtp", "Use RTP header for multicast stream."),
    flag("d,disable", "Disables the added entry. Entry exists in map, but are not active."),
    IP_CLEAR_OPTION,
};

uint32_t numberOf(const Options& options, const char* name) { return options[name].as<uint32_t>(); }
bool isGiven(const Options& options, const char* name) { return options.count(name) != 0; }
bool isClear(const Options& options) { return isGiven(options, "clear"); }

void writePidLut(const Options& options, const Memory& memory, std::ostream&)
{
    // Without -p this PID stands: on clearing it means all PIDs of the TSI.
    constexpr uint32_t NO_PID = 8191;

    PidLutMapDriver driver(memory);
    const uint32_t tsiIdx = numberOf(options, "tsiidx");
    const uint32_t pid = numberOf(options, "pid");
    PidLutEntry entry;
    entry.setTSIIDX(tsiIdx);
    entry.setPID(pid);

    PidLutEntries entries = getPidLutEntries(*memory);
    if (!isClear(options)) {
        entry.setPIDIDX(numberOf(options, "pididx"));
        entry.setFiltTabIDX(numberOf(options, "filtidx"));
        entry.setOutRoute(isGiven(options, "route_output"));
        entry.setCpuRoute(isGiven(options, "route_cpu"));
        entries.insert_or_assign({tsiIdx, pid}, entry);
    } else if (pid == NO_PID) {
        std::erase_if(entries, [tsiIdx](const auto& row) { return row.first.first == tsiIdx; });
    } else {
        entries.erase({tsiIdx, pid});
    }
    driver.writePidLut(entries);
}

void writeIpLut(const Options& options, const Memory& memory, std::ostream&)
{
    TsIoDriver driver(memory);
    const uint32_t tsiIdx = numberOf(options, "tsiidx");
    std::list<IpInEntry> added;
    if (isClear(options))
        IpInEntry().setTSIidx(tsiIdx); // refuses what no row can have
    else
        added.emplace_back(tsiIdx, options["ip"].as<std::string>(), numberOf(options, "port"));

    std::list<IpInEntry> entries = getIpLut(*memory, 0, IP_LUT.rows, false, false);
    entries.remove_if([tsiIdx](const IpInEntry& entry) { return entry.getTSIidx() == tsiIdx; });
    entries.splice(entries.end(), added);
    entries.sort();
    driver.writeIpInLut(entries);
}

void writeTsiMap(const Options& options, const Memory& memory, std::ostream&)
{
    TsiMapEntry entry(numberOf(options, "tsiidx"));
    if (!isClear(options)) {
        entry.setPIDidx(numberOf(options, "pididx"));
        entry.setEnabled(true);
    }
    PidLutMapDriver(memory).writeTsiMapEntry(entry);
}

void writeOPidMap(const Options& options, const Memory& memory, std::ostream&)
{
    PidMapEntry entry(numberOf(options, "pididx"));
    if (!isClear(options)) {
        entry.setTSOidx(numberOf(options, "tsoidx"));
        entry.setNextPIDidx(numberOf(options, "next_pididx"));
        if (isGiven(options, "opid"))
            entry.setRemapPID(numberOf(options, "opid"));
        entry.setEnabled(true);
    }
    PidLutMapDriver(memory).writePidMapEntry(entry);
}

void writeFilterTable(const Options& options, const Memory& memory, std::ostream&)
{
    FilterTabEntry entry(numberOf(options, "filtidx"));
    if (!isClear(options))
        entry.setPacketCount(numberOf(options, "count_val"));
    PidLutMapDriver(memory).writeFilterTabEntry(entry);
}

void writePhysInMap(const Options& options, const Memory& memory, std::ostream&)
{
    PhysInEntry entry(numberOf(options, "phyiidx"));
    if (!isClear(options))
        entry.setTSIidx(numberOf(options, "tsiidx"));
    TsIoDriver(memory).writePhysInEntry(entry);
}

void writePhysOutMap(const Options& options, const Memory& memory, std::ostream&)
{
    PhysOutEntry entry(numberOf(options, "tsoidx"));
    if (!isClear(options)) {
        entry.setPHYOidx(numberOf(options, "phyoidx"));
        entry.setEnabled(true);
    }
    TsIoDriver(memory).writePhysOutEntry(entry);
}

void writeIpOutMap(const Options& options, const Memory& memory, std::ostream&)
{
    IpOutEntry entry(numberOf(options, "tsoidx"));
    if (!isClear(options)) {
        const CppUtil::IpAdrContainer ipAddress(options["ip"].as<std::string>());
        entry.setIpAddress(ipAddress);
        entry.setMacAddress(CppUtil::MacAdrContainer(ipAddress));
        entry.setUdpPort(numberOf(options, "port"));
        entry.setRtp(isGiven(options, "rtp"));
        entry.setEnabled(!isGiven(options, "disable"));
    }
    TsIoDriver(memory).writeIpOutEntry(entry);
}

} // namespace

const IoTableCmdDecl WRITE_IP_LUT{{TableAccess::EDIT, IP_LUT_OPTIONS, &writeIpLut}};
const IoTableCmdDecl WRITE_PHYS_OUT_MAP{{TableAccess::EDIT, PHYS_OUT_MAP_OPTIONS, &writePhysOutMap}};
const IoTableCmdDecl WRITE_PHYS_IN_MAP{{TableAccess::EDIT, PHYS_IN_MAP_OPTIONS, &writePhysInMap}};
const PidTableCmdDecl WRITE_PID_LUT{{TableAccess::EDIT, PID_LUT_OPTIONS, &writePidLut}};
const PidTableCmdDecl WRITE_TSI_MAP{{TableAccess::EDIT, TSI_MAP_OPTIONS, &writeTsiMap}};
const PidTableCmdDecl WRITE_O_PID_MAP{{TableAccess::EDIT, O_PID_MAP_OPTIONS, &writeOPidMap}};
const PidTableCmdDecl WRITE_FILTER_TABLE{{TableAccess::EDIT, FILTER_TABLE_OPTIONS, &writeFilterTable}};
const IoTableCmdDecl WRITE_IP_OUT_MAP{{TableAccess::EDIT, IP_OUT_MAP_OPTIONS, &writeIpOutMap}};

} // namespace Osl::Utils
