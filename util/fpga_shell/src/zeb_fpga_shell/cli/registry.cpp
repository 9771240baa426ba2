#include "zeb_fpga_shell/cli/registry.h"

#include "zeb_fpga_shell/cli/bitrate_cmds.h"
#include "zeb_fpga_shell/cli/cammon_cmds.h"
#include "zeb_fpga_shell/cli/impexp_tables_cmd.h"
#include "zeb_fpga_shell/cli/mcnotlut_cmds.h"
#include "zeb_fpga_shell/cli/pktio_cmds.h"
#include "zeb_fpga_shell/cli/scm_cmds.h"
#include "zeb_fpga_shell/cli/spi_cmds.h"
#include "zeb_fpga_shell/cli/table_clear_cmds.h"
#include "zeb_fpga_shell/cli/table_read_cmds.h"
#include "zeb_fpga_shell/cli/table_write_cmds.h"
#include "zeb_fpga_shell/cli/zeb_fpga_memcmds.h"

#include <array>

namespace Osl::Utils {
namespace {

/// A command as the user sees it, and how it is made.
struct CommandRow
{
    const char* name;
    const char* usage;
    const char* description;
    std::unique_ptr<CliCmd> (*make)(const CommandRow& row, const StopFlag& stopFlag);
};

template <class Command>
std::unique_ptr<CliCmd> make(const CommandRow& row, const StopFlag& stopFlag)
{
    return std::make_unique<Command>(row.name, row.usage, row.description, stopFlag);
}

// clang-format off
constexpr std::array COMMANDS{
    CommandRow{"write32", "TBA",
               "Command for writing a single 32bit word to the device memory at a given 32 bit word offset.",
               make<ZEBFpgaCli_write32>},
    CommandRow{"write16", "TBA",
               "Command for writing a single 16bit word to the device memory at a given 16bit word offset.",
               make<ZEBFpgaCli_write16>},
    CommandRow{"write8", "TBA",
               "Command for writing a single 8bit word to the device memory at a given 8bit word offset.",
               make<ZEBFpgaCli_write8>},
    CommandRow{"read32", "TBA",
               "Command for reading a single or multiple 32bit words from the device memory at a given 32bit word offset.",
               make<ZEBFpgaCli_read32>},
    CommandRow{"read16", "TBA",
               "Command for reading a single or multiple 16bit words from the device memory at a given 16bit word offset.",
               make<ZEBFpgaCli_read16>},
    CommandRow{"read8", "TBA",
               "Command for reading a single or multiple 8bit words from the device memory at a given 8bit word offset.",
               make<ZEBFpgaCli_read8>},
    CommandRow{"spiread", "TBA",
               "TBA",
               make<SpiReadCmd>},
    CommandRow{"spiwrite", "TBA",
               "TBA",
               make<SpiWriteCmd>},
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
    CommandRow{"clrtsimap", "See clrtsimap -h",
               "Resets the entire TSI MAP to the default values",
               make<ResetTSIMAPCmd>},
    CommandRow{"clrpidlut", "See clrpidlut -h",
               "Resets the entire PID LUT (both LUTs) to the default values",
               make<ResetPIDLUTCmd>},
    CommandRow{"clropidmap", "See clropidmap -h",
               "Resets the entire OPID MAP to the default values",
               make<ResetOPIDMAPCmd>},
    CommandRow{"clriplut", "See clriplut -h",
               "Resets the entire IP LUT (both LUTs) to the default values",
               make<ResetIPLUTCmd>},
    CommandRow{"clripoutmap", "See clripoutmap -h",
               "Resets the entire IP TS OUT MAP to the default values",
               make<ResetIPOUTMAPCmd>},
    CommandRow{"clrphyomap", "See clrphyomap -h",
               "Resets the entire PHYS TS OUT MAP to the default values",
               make<ResetPHYSOUTMAPCmd>},
    CommandRow{"clrphyimap", "See clrphyimap -h",
               "Resets the entire PHYS TS IN MAP to the default values",
               make<ResetPHYSINMAPCmd>},
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
    CommandRow{"rdtspackets", "See rdtspackets -h",
               "Reads transport stream packets from the packet FIFO in the ZEB TSIF FPGA.",
               make<RdTsPacketsCmd>},
    CommandRow{"tsinrate", "See tsinrate -h",
               "Monitors and displays the current bitrate of the incoming TS packets of the pktio interface.",
               make<PKTIORxBitRateMeas>},
    CommandRow{"tsoutrate", "See tsoutrate -h",
               "Monitors and displays the current bitrate of the outgoing TS packets of the pktio interface.",
               make<PKTIOTxBitRateMeas>},
    CommandRow{"wrtspackets", "See wrtspackets -h",
               "Writes TS packets to the Tx packet FIFO of the ZEB TSIF FPGA.",
               make<WrTsPacketsCmd>},
    CommandRow{"tsotsibitrate", "See tsotsibitrate -h",
               "Reads the bitrate of multiple transport stream inputs and outputs, designated by either TSI and/or TSO.",
               make<TSOTSIBitRateMeas>},
    CommandRow{"exptabs", "See exptabs -h",
               "Exports the transport stream related tables fo the ZEB stream FPGA.",
               make<ExportTablesCmd>},
    CommandRow{"imptabs", "See imptabs -h",
               "Imports the content of given file to the transport stream related tables of the ZEB stream FPGA",
               make<ImportTablesCmd>},
    CommandRow{"rmcnotlut", "See rmcnotlut -h",
               "Reads out the contents of the Multicast NOT filter LUT of the ZEB NIC.",
               make<McNotLutReadCmd>},
    CommandRow{"wrmcnotlut", "See wrmcnotlut -h",
               "Writes a multicast IP address entry or clears an existing entry to/from the Multicast NOT filter LUT of the ZEB NIC.",
               make<McNotLutWriteCmd>},
    CommandRow{"rscmpidlut", "See rscmpidlut -h",
               "Reads out the contents of the ZEB scrambler PID LUT.",
               make<ScmReadPidlut>},
    CommandRow{"wrscmpidlut", "See wrscmpidlut -h",
               "Write an entry to the ZEB scrambler PID LUT",
               make<ScmWritePidlut>},
    CommandRow{"clrscmpidlut", "See clrscmpidlut -h",
               "Clears the content of the entire ZEB scrambler PID LUT",
               make<ScmClearPidlut>},
    CommandRow{"rscmkeys", "See rscmkeys -h",
               "Reads scrambler common keys and ivs",
               make<ScmReadKeys>},
    CommandRow{"wrscmkeys", "See rscmkeys -h",
               "Writes scrambler common keys and ivs\nFor each value given as \"-\" a line is read from standard input, in the order of the options below.",
               make<ScmWriteKeys>},
    CommandRow{"clrcammon", "See clrcammon -h",
               "Resets all PID values of the CAM monitor to 0x1FFF of a given CAM slot",
               make<CamMonClearCmd>},
    CommandRow{"rcammon", "See rcammon -h",
               "Reads out the contents of the CAM monitor configuration\nPID table and associated packet and error counters",
               make<CamMonReadCmd>},
    CommandRow{"wrcammon", "See wrcammon -h",
               "Writes or clears and PID entry of the CAM monitor of a given CAM slot",
               make<CamMonWriteCmd>},
};
// clang-format on

} // namespace

void registerCommands(CliModule& module, const StopFlag& stopFlag)
{
    for (const CommandRow& row : COMMANDS)
        module.addCmd(row.make(row, stopFlag));
}

} // namespace Osl::Utils
