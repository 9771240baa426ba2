#include "zeb_fpga_shell/cli/zeb_fpga_memcmds.h"

#include "zeb_fpga_shell/mem_dump.h"
#include "zeb_fpga_shell/shell_error.h"
#include "zeb_fpga_shell/word_access.h"

#include <fmt/format.h>

#include <array>
#include <limits>

namespace Osl::Utils {
namespace {

constexpr OptionDecl OFFSET_OPTION{"o,offset", OptionKind::NUMBER,
                                   "Read/write Offset in words. Prefix with \"0x\" for hex.", "0"};

constexpr std::array READ_OPTIONS{
    OFFSET_OPTION,
    OptionDecl{"c,count", OptionKind::NUMBER, "Number of bytes to read/process. Prefix with \"0x\" for hex.", "1"},
};

constexpr std::array WRITE_OPTIONS{
    OFFSET_OPTION,
    OptionDecl{"v,data", OptionKind::NUMBER, "Data value to write. Prefix with \"0x\" for hex.", "0"},
    OptionDecl{"r,readback", OptionKind::FLAG,
               "Read-back written data posterior to write operation. For write operations only."},
};

} // namespace

int ZEBFpgaMemCmd::doFpgaCommand(Options& options, std::ostream& out, std::istream&)
{
    try {
        access(options, out);
    } catch (const Error& error) {
        OSL_RAISE(ShellError, fmt::format("{} command encountered an unexpected error: {}", getName(), error.what()));
    }
    return 0;
}

template <class Word>
void ZEBFpgaReadCmd<Word>::addOptions(Options& options)
{
    options.add(READ_OPTIONS);
    ZEBFpgaMemCmd::addOptions(options);
}

template <class Word>
void ZEBFpgaReadCmd<Word>::access(const Options& options, std::ostream& out)
{
    const auto offset = options["offset"].as<uint32_t>();
    const auto count = options["count"].as<uint32_t>();
    dumpWords(out, offset, (getMemIf().*WordAccess<Word>::READ_BLOCK)(offset, count));
}

template <class Word>
void ZEBFpgaWriteCmd<Word>::addOptions(Options& options)
{
    options.add(WRITE_OPTIONS);
    ZEBFpgaMemCmd::addOptions(options);
}

template <class Word>
void ZEBFpgaWriteCmd<Word>::access(const Options& options, std::ostream& out)
{
    const auto offset = options["offset"].as<uint32_t>();
    const auto data = options["data"].as<uint32_t>();
    if (data > std::numeric_limits<Word>::max())
        OSL_RAISE(ShellError, fmt::format("{} cannot write data. {} ({:#x}) is not a {} bit value", getName(), data,
                                          data, std::numeric_limits<Word>::digits));
    (getMemIf().*WordAccess<Word>::WRITE)(offset, data);
    if (options.count("readback") != 0)
        dumpWords(out, offset, std::vector<Word>{(getMemIf().*WordAccess<Word>::READ)(offset)});
}

template class ZEBFpgaReadCmd<uint8_t>;
template class ZEBFpgaReadCmd<uint16_t>;
template class ZEBFpgaReadCmd<uint32_t>;
template class ZEBFpgaWriteCmd<uint8_t>;
template class ZEBFpgaWriteCmd<uint16_t>;
template class ZEBFpgaWriteCmd<uint32_t>;

} // namespace Osl::Utils
