#include "zeb_fpga_shell/cli/table_write_cmds.h"

#include "zeb_fpga_shell/cli/row_options.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutmapdriver.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsiodriver.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <list>
#include <optional>
#include <utility>

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

// clang-format off
constexpr std::array PID_LUT_FIELDS{
    numberField<&PidLutEntry::setPIDIDX, &PidLutEntry::getPIDIDX>("pididx"),
    numberField<&PidLutEntry::setFiltTabIDX, &PidLutEntry::getFiltTabIDX>("filtidx"),
    flagField<&PidLutEntry::setOutRoute, &PidLutEntry::isOutRoute>("route_output"),
    flagField<&PidLutEntry::setCpuRoute, &PidLutEntry::isCpuRoute>("route_cpu"),
};

constexpr std::array IP_LUT_FIELDS{
    ShownField<IpInEntry>{"ip", [](const IpInEntry& entry) { return entry.getIpAddress().toString(); }},
    ShownField<IpInEntry>{"port", &showNumber<&IpInEntry::getUdpPort>},
};

constexpr std::array TSI_MAP_FIELDS{numberField<&TsiMapEntry::setPIDidx, &TsiMapEntry::getPIDidx>("pididx")};

constexpr std::array O_PID_MAP_FIELDS{
    numberField<&PidMapEntry::setTSOidx, &PidMapEntry::getTSOidx>("tsoidx"),
    numberField<&PidMapEntry::setNextPIDidx, &PidMapEntry::getNextPIDidx>("next_pididx"),
    OptionField<PidMapEntry>{
        {"opid", [](const PidMapEntry& entry) { return entry.isRemap() ? fmt::to_string(entry.getRemapPID()) : "none"; }},
        [](PidMapEntry& entry, const Options& options, const char* option) {
            if (options.count(option) != 0)
                entry.setRemapPID(options[option].as<uint32_t>());
        }},
};

constexpr std::array FILTER_TABLE_FIELDS{
    numberField<&FilterTabEntry::setPacketCount, &FilterTabEntry::getPacketCount>("count_val")};

constexpr std::array PHYS_IN_MAP_FIELDS{numberField<&PhysInEntry::setTSIidx, &PhysInEntry::getTSIidx>("tsiidx")};

constexpr std::array PHYS_OUT_MAP_FIELDS{numberField<&PhysOutEntry::setPHYOidx, &PhysOutEntry::getPHYOidx>("phyoidx")};

constexpr std::array IP_OUT_MAP_FIELDS{
    OptionField<IpOutEntry>{
        {"ip", [](const IpOutEntry& entry) { return entry.getIpAddress().toString(); }},
        [](IpOutEntry& entry, const Options& options, const char* option) {
            const CppUtil::IpAdrContainer ipAddress(options[option].as<std::string>());
            entry.setIpAddress(ipAddress);
            entry.setMacAddress(CppUtil::MacAdrContainer(ipAddress));
        }},
    numberField<&IpOutEntry::setUdpPort, &IpOutEntry::getUdpPort>("port"),
    flagField<&IpOutEntry::setRtp, &IpOutEntry::isRtp>("rtp"),
    OptionField<IpOutEntry>{
        {"disable", [](const IpOutEntry& entry) { return std::string(entry.isEnabled() ? "NO" : "YES"); }},
        [](IpOutEntry& entry, const Options& options, const char* option) {
            entry.setEnabled(options.count(option) == 0);
        }},
};

template <class Entry>
using PidRows = RowTable<Entry, PidLutMapDriver>;
template <class Entry>
using IoRows = RowTable<Entry, TsIoDriver>;

constexpr PidRows<TsiMapEntry>    TSI_MAP_ROWS     {TSI_MAP,      "tsiidx",  TSI_MAP_FIELDS,      &PidLutMapDriver::writeTsiMapEntry};
constexpr PidRows<PidMapEntry>    O_PID_MAP_ROWS   {O_PID_MAP,    "pididx",  O_PID_MAP_FIELDS,    &PidLutMapDriver::writePidMapEntry};
constexpr PidRows<FilterTabEntry> FILTER_TABLE_ROWS{FILTER_TABLE, "filtidx", FILTER_TABLE_FIELDS, &PidLutMapDriver::writeFilterTabEntry};
constexpr IoRows<PhysInEntry>     PHYS_IN_MAP_ROWS {PHYS_IN_MAP,  "phyiidx", PHYS_IN_MAP_FIELDS,  &TsIoDriver::writePhysInEntry};
constexpr IoRows<PhysOutEntry>    PHYS_OUT_MAP_ROWS{PHYS_OUT_MAP, "tsoidx",  PHYS_OUT_MAP_FIELDS, &TsIoDriver::writePhysOutEntry};
constexpr IoRows<IpOutEntry>      IP_OUT_MAP_ROWS  {IP_OUT_MAP,   "tsoidx",  IP_OUT_MAP_FIELDS,   &TsIoDriver::writeIpOutEntry};
// clang-format on

uint32_t numberOf(const Options& options, const char* name) { return options[name].as<uint32_t>(); }
bool isGiven(const Options& options, const char* name) { return options.count(name) != 0; }

/// Removes one row of the PID LUT, or all of a TSI. Numbers that no row can have find none, which is no error.
void clearPidLutRows(const Options& options, const Memory& memory, std::ostream& notes)
{
    // Without -p it is 8191.
    constexpr uint32_t LAST_PID = 8190;

    PidLutMapDriver driver(memory);
    const uint32_t tsiIdx = numberOf(options, "tsiidx");
    const uint32_t pid = numberOf(options, "pid");
    PidLutEntries entries = getPidLutEntries(*memory);
    if (pid <= LAST_PID) {
        entries.erase({tsiIdx, pid});
        driver.writePidLut(entries);
        return;
    }
    const std::size_t removed = std::erase_if(entries, [tsiIdx](const auto& row) { return row.first.first == tsiIdx; });
    driver.writePidLut(entries);
    notes << fmt::format("Note: {} row{} of TSI {} removed\n", removed, removed == 1 ? "" : "s", tsiIdx);
}

void writePidLut(const Options& options, const Memory& memory, std::ostream& notes)
{
    if (isGiven(options, "clear")) {
        clearPidLutRows(options, memory, notes);
        return;
    }
    PidLutMapDriver driver(memory);
    PidLutEntry entry;
    entry.setTSIIDX(numberOf(options, "tsiidx"));
    entry.setPID(numberOf(options, "pid"));
    putFields<PidLutEntry>(PID_LUT_FIELDS, entry, options);

    PidLutEntries entries = getPidLutEntries(*memory);
    const auto [row, isNew] = entries.try_emplace({entry.getTSIIDX(), entry.getPID()}, entry);
    const PidLutEntry before = std::exchange(row->second, entry);
    const bool filtersAll = entry.isCpuRoute() && !isGiven(options, "filtidx") &&
                            memory->read32(FILTER_TABLE.rowOffset(entry.getFiltTabIDX())) == 0;
    driver.writePidLut(entries);
    if (!isNew)
        noteDefaults(PID_LUT_FIELDS, options, before, entry, notes);
    if (filtersAll)
        notes << fmt::format("Note: filter {} passes no packets (--filtidx was not given)\n", entry.getFiltTabIDX());
}

void writeIpLut(const Options& options, const Memory& memory, std::ostream& notes)
{
    TsIoDriver driver(memory);
    const uint32_t tsiIdx = numberOf(options, "tsiidx");
    std::list<IpInEntry> added;
    if (!isGiven(options, "clear"))
        added.emplace_back(tsiIdx, options["ip"].as<std::string>(), numberOf(options, "port"));
    const std::optional<IpInEntry> after = added.empty() ? std::nullopt : std::optional(added.front());

    std::list<IpInEntry> entries = getIpLut(*memory, 0, IP_LUT.rows, false, false);
    const auto isOfTsi = [tsiIdx](const IpInEntry& entry) { return entry.getTSIidx() == tsiIdx; };
    const auto replaced = std::find_if(entries.begin(), entries.end(), isOfTsi);
    const std::optional<IpInEntry> before = replaced == entries.end() ? std::nullopt : std::optional(*replaced);
    entries.remove_if(isOfTsi);
    entries.splice(entries.end(), added);
    entries.sort();
    driver.writeIpInLut(entries);
    if (before && after)
        noteDefaults(IP_LUT_FIELDS, options, *before, *after, notes);
}

} // namespace

const IoTableCmdDecl WRITE_IP_LUT{{TableAccess::EDIT, IP_LUT_OPTIONS, &writeIpLut}};
const IoTableCmdDecl WRITE_PHYS_OUT_MAP{{TableAccess::EDIT, PHYS_OUT_MAP_OPTIONS, &writeRow<PHYS_OUT_MAP_ROWS>}};
const IoTableCmdDecl WRITE_PHYS_IN_MAP{{TableAccess::EDIT, PHYS_IN_MAP_OPTIONS, &writeRow<PHYS_IN_MAP_ROWS>}};
const PidTableCmdDecl WRITE_PID_LUT{{TableAccess::EDIT, PID_LUT_OPTIONS, &writePidLut}};
const PidTableCmdDecl WRITE_TSI_MAP{{TableAccess::EDIT, TSI_MAP_OPTIONS, &writeRow<TSI_MAP_ROWS>}};
const PidTableCmdDecl WRITE_O_PID_MAP{{TableAccess::EDIT, O_PID_MAP_OPTIONS, &writeRow<O_PID_MAP_ROWS>}};
const PidTableCmdDecl WRITE_FILTER_TABLE{{TableAccess::EDIT, FILTER_TABLE_OPTIONS, &writeRow<FILTER_TABLE_ROWS>}};
const IoTableCmdDecl WRITE_IP_OUT_MAP{{TableAccess::EDIT, IP_OUT_MAP_OPTIONS, &writeRow<IP_OUT_MAP_ROWS>}};

std::span<const CommandRow> tableWriteCommands()
{
    // clang-format off
    static constexpr std::array COMMANDS{
        CommandRow{"wriplut", "See wriplut -h",
                   "Writes an entry to the IP LUT of the ZEB TS FPGA. Keeps the LUT sorted.",
                   make<WriteIPLUTEntryCmd>},
        CommandRow{"wrphyomap", "See wrphyomap -h",
                   "Writes an entry to the PHY OUT TS MAP of the ZEB TS FPGA.",
                   make<WritePHYSOUTMAPEntryCmd>},
        CommandRow{"wrphyimap", "See wrphyimap -h",
                   "Writes an entry to the PHY IN TS MAP of the ZEB TS FPGA.",
                   make<WritePHYSINMAPEntryCmd>},
        CommandRow{"wrpidlut", "See wrpidlut -h",
                   "Writes an entry to the PID LUT of the ZEB TS FPGA. Keeps the LUT sorted.",
                   make<WritePIDLUTEntryCmd>},
        CommandRow{"wrtsimap", "See wrtsimap -h",
                   "Writes an entry to the TSI MAP of the ZEB TS FPGA",
                   make<WriteTSIMAPEntryCmd>},
        CommandRow{"wropidmap", "See wropidmap -h",
                   "Writes an entry to the OPID MAP of the ZEB TS FPGA",
                   make<WriteOPIDMAPEntryCmd>},
        CommandRow{"wrfilttab", "See wrfilttab -h",
                   "Writes an entry to the Filter table of the ZEB TS FPGA",
                   make<WriteFILTTABEntryCmd>},
        CommandRow{"wripoutmap", "See wripoutmap -h",
                   "Writes an entry to the IP OUT TS MAP of the ZEB TS FPGA.",
                   make<WriteIPOUTEntryCmd>},
    };
    // clang-format on
    return COMMANDS;
}

} // namespace Osl::Utils
