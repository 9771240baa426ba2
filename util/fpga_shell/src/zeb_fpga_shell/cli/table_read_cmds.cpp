#include "zeb_fpga_shell/cli/table_read_cmds.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <algorithm>
#include <array>
#include <type_traits>

namespace Osl::Utils {
namespace {

using namespace Drivers::Zeb;

constexpr std::array<OptionDecl, 4> readOptions(const char* all, const char* showAll, const char* offset)
{
    return {{
        {"a,all", OptionKind::FLAG, all},
        {"s,show_all", OptionKind::FLAG, showAll},
        {"o,offset", OptionKind::NUMBER, offset},
        {"c,count", OptionKind::NUMBER, "Number of entries to read-out"},
    }};
}

constexpr std::array<OptionDecl, 5> bankReadOptions(const char* all, const char* showAll, const char* offset,
                                                    const char* inactive)
{
    const std::array<OptionDecl, 4> common = readOptions(all, showAll, offset);
    std::array<OptionDecl, 5> options{};
    std::copy(common.begin(), common.end(), options.begin());
    options.back() = {"i,inactive", OptionKind::FLAG, inactive};
    return options;
}

constexpr const char* SHOW_DISABLED = "Reads out disabled/stuffing entries, which are default filtered.";
constexpr const char* SHOW_STUFFING =
    "If set, the command will readout all entries, including the default stuffing entries.";

constexpr auto IP_LUT_OPTIONS =
    bankReadOptions("Reads out the entire IP LUT.", SHOW_DISABLED, "Start offset of the read-out in the IP LUT.",
                    "Reads out the inactive IP LUT. Default the active will be read out");
// The help of the TSI MAP command speaks of the IP LUT; users know it so.
constexpr auto TSI_MAP_OPTIONS =
    readOptions("Reads out the entire IP LUT.", SHOW_STUFFING, "Start offset of the read-out in the IP LUT.");
constexpr auto PID_LUT_OPTIONS =
    bankReadOptions("Reads out the entire PID LUT. Overrides offset and count options.", SHOW_STUFFING,
                    "Start offset of the read-out in the PID LUT.",
                    "Reads out the inactive PID LUT. Default the active will be read out.");
constexpr auto O_PID_MAP_OPTIONS =
    readOptions("Reads out the entire OPID MAP.", "Dumps all entries, including non-enabled entries.",
                "Start offset of the read-out in the OPID MAP.");
constexpr auto PHYS_OUT_MAP_OPTIONS = readOptions("Reads out the entire PHYS TS OUT MAP.", SHOW_DISABLED,
                                                  "Start offset of the read-out in the PHYS TS OUT MAP.");
constexpr auto PHYS_IN_MAP_OPTIONS = readOptions("Reads out the entire PHYS TS IN MAP.",
                                                 "Reads out disabled/stuffing entries, which are by default filtered.",
                                                 "Start offset of the read-out in the PHYS TS IN MAP.");
constexpr auto IP_OUT_MAP_OPTIONS =
    readOptions("Reads out the entire IPOUT MAP.", SHOW_DISABLED, "Start offset of the read-out in the IPOUT MAP.");

/// Prints the rows that the options select.
template <const TableLayout& TABLE>
void readTable(const Options& options, const std::shared_ptr<Drivers::IMemIf>& memory, std::ostream& out)
{
    uint32_t offset = TABLE.firstRow;
    uint32_t count = 1;
    if (options.count("offset") != 0)
        offset = options["offset"].as<uint32_t>();
    if (options.count("count") != 0)
        count = options["count"].as<uint32_t>();
    if (options.count("all") != 0) {
        offset = TABLE.firstRow;
        count = TABLE.rows - TABLE.firstRow;
    }
    printTable(*memory, TABLE, {offset, count, options.count("inactive") != 0, options.count("show_all") != 0}, out);
}

/// The command that reads a table, with its options.
template <const TableLayout& TABLE, const auto& OPTIONS>
constexpr std::conditional_t<TABLE.block == TableBlock::PID, PidTableCmdDecl, IoTableCmdDecl> READ{
    {TableAccess::READ, OPTIONS, &readTable<TABLE>}};

} // namespace

const IoTableCmdDecl READ_IP_LUT = READ<IP_LUT, IP_LUT_OPTIONS>;
const PidTableCmdDecl READ_TSI_MAP = READ<TSI_MAP, TSI_MAP_OPTIONS>;
const PidTableCmdDecl READ_PID_LUT = READ<PID_LUT, PID_LUT_OPTIONS>;
const PidTableCmdDecl READ_O_PID_MAP = READ<O_PID_MAP, O_PID_MAP_OPTIONS>;
const IoTableCmdDecl READ_PHYS_OUT_MAP = READ<PHYS_OUT_MAP, PHYS_OUT_MAP_OPTIONS>;
const IoTableCmdDecl READ_PHYS_IN_MAP = READ<PHYS_IN_MAP, PHYS_IN_MAP_OPTIONS>;
const IoTableCmdDecl READ_IP_OUT_MAP = READ<IP_OUT_MAP, IP_OUT_MAP_OPTIONS>;

std::span<const CommandRow> tableReadCommands()
{
    // clang-format off
    static constexpr std::array COMMANDS{
        CommandRow{"riplut", "See riplut -h",
                   "Reads out the contents of the ZEB IP LUT.",
                   make<ReadIPLUTCmd>},
        CommandRow{"rtsimap", "See rtsimap -h",
                   "Reads out the contents of the ZEB TSI MAP.",
                   make<ReadTSIMAPCmd>},
        CommandRow{"rpidlut", "See rpidlut -h",
                   "Reads out the contents of the ZEB PID LUT.",
                   make<ReadPIDLUTCmd>},
        CommandRow{"ropidmap", "See ropidmap -h",
                   "Reads out the contents of the ZEB O-PID MAP.",
                   make<ReadOPIDMAPCmd>},
        CommandRow{"rphyomap", "See rphyomap -h",
                   "Reads out the contents of the ZEB PHYS TS OUT MAP.",
                   make<ReadPHYSOUTMAPCmd>},
        CommandRow{"rphyimap", "See rphyimap -h",
                   "Reads out the contents of the ZEB PHYS TS IN MAP.",
                   make<ReadPHYSINMAPCmd>},
        CommandRow{"ripoutmap", "See ripoutmap -h",
                   "Reads out the contents of the ZEB IPOUT MAP.",
                   make<ReadIPOutCmd>},
    };
    // clang-format on
    return COMMANDS;
}

} // namespace Osl::Utils
