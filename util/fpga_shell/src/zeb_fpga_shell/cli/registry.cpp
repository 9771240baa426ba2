#include "zeb_fpga_shell/cli/registry.h"

#include "zeb_fpga_shell/cli/bitrate_cmds.h"
#include "zeb_fpga_shell/cli/cammon_cmds.h"
#include "zeb_fpga_shell/cli/command_row.h"
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
#include <span>

namespace Osl::Utils {
namespace {

// clang-format off
constexpr std::array MEMORY_COMMANDS{
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
};
constexpr std::array STREAM_AND_ATTRIBUTE_COMMANDS{
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
    const std::span<const CommandRow> families[] = {MEMORY_COMMANDS, tableReadCommands(), tableClearCommands(),
                                                    tableWriteCommands(), STREAM_AND_ATTRIBUTE_COMMANDS};
    for (const std::span<const CommandRow>& family : families)
        for (const CommandRow& row : family)
            module.addCmd(row.make(row, stopFlag));
}

} // namespace Osl::Utils
