#include "zeb_fpga_shell/cli/mcnotlut_cmds.h"

#include <osl/cpputils/error.h>
#include <osl/userspace_drivers/drivers/zeb/attr/mcnotlut.h>

#include <fmt/format.h>

#include <array>
#include <optional>
#include <ostream>

namespace Osl::Utils {
namespace {

using CppUtil::IpAdrContainer;
using Drivers::Zeb::McNotLut;

// Both flags have the same help; users know the text of the second like this.
constexpr const char* FLAG_HELP = "Reads out disabled/stuffing entries, which are default filtered.";

constexpr std::array READ_OPTIONS{
    OptionDecl{"s,show_all", OptionKind::FLAG, FLAG_HELP},
    HELP_OPTION,
};

constexpr std::array WRITE_OPTIONS{
    OptionDecl{"c,clear", OptionKind::FLAG, FLAG_HELP},
    OptionDecl{"m,mcip", OptionKind::TEXT, "Multicast IP to write/clear to/from the LUT"},
    HELP_OPTION,
};

/// The address of a dotted text. 0.0.0.0 is one, though the table cannot tell it from a vacant entry.
std::optional<IpAdrContainer> addressOf(const std::string& text)
{
    try {
        return IpAdrContainer(text);
    } catch (const CppUtil::ParsingError&) {
        return std::nullopt;
    }
}

} // namespace

void McNotLutReadCmd::addOptions(Options& options) { options.add(READ_OPTIONS); }

int McNotLutReadCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const bool showAll = options.count("show_all") != 0;
    const std::vector<uint32_t> table = McNotLut().read();
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (showAll || table[i] != McNotLut::VACANT)
            out << fmt::format("{:03}: {}", i, IpAdrContainer(table[i]).toString()) << std::endl;
    }
    return 0;
}

void McNotLutWriteCmd::addOptions(Options& options) { options.add(WRITE_OPTIONS); }

int McNotLutWriteCmd::doCommand(Options& options, std::ostream& out, std::istream&)
{
    const std::optional<IpAdrContainer> address = addressOf(options["mcip"].as<std::string>());
    if (!address) {
        out << "Error: Invalid or missing IP argument" << std::endl;
        return -1;
    }
    McNotLut lut(editPatience());
    if (options.count("clear") != 0 && !lut.clear(*address)) {
        out << "Error: Entry not found" << std::endl;
        return -1;
    }
    if (options.count("clear") == 0 && !lut.add(*address)) {
        out << "Error: No vacant entries in multicast NOT LUT" << std::endl;
        return -1;
    }
    return 0;
}

} // namespace Osl::Utils
