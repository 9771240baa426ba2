// Words as a user may type them behind a table command, one a line, up to the tables of a fake board. The first byte
// chooses the command.

#include "zeb_fpga_shell/cli/table_clear_cmds.h"
#include "zeb_fpga_shell/cli/table_read_cmds.h"
#include "zeb_fpga_shell/cli/table_write_cmds.h"

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/stringutils.h>
#include <osl/testing/argument_vector.h>
#include <osl/testing/failing_block.h>

#include <array>
#include <sstream>

using namespace Osl::Utils;
using Osl::Testing::FailingBoard;

namespace {

constexpr std::array COMMANDS{&WRITE_PID_LUT,      &WRITE_IP_LUT,      &WRITE_TSI_MAP,      &WRITE_O_PID_MAP,
                              &WRITE_FILTER_TABLE, &WRITE_PHYS_IN_MAP, &WRITE_PHYS_OUT_MAP, &WRITE_IP_OUT_MAP,
                              &READ_PID_LUT,       &READ_IP_LUT,       &READ_O_PID_MAP,     &READ_IP_OUT_MAP};

constexpr OptionDecl MANY_OPTION{"M,many", OptionKind::NUMBERS, "Numbers, of which no table command takes several."};

/// A number that was taken is the one that the text says.
void checkNumbers(const Options& options)
{
    for (const OptionDecl& declaration : options.declarations()) {
        const std::string names = declaration.names;
        const std::string name = names.substr(names.find(',') + 1);
        if (declaration.kind == OptionKind::NUMBER) {
            const auto value = options[name].as<uint32_t>();
            OSL_ASSERT(Osl::CppUtil::parseUint32(std::to_string(value)) == value);
        } else if (declaration.kind == OptionKind::NUMBERS) {
            OSL_ASSERT(options[name].as<std::vector<uint32_t>>().size() >= options.count(name));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const TableCmdDecl& command = *COMMANDS.at(data[0] % COMMANDS.size());
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::vector<std::string> words = Osl::CppUtil::split(text.substr(0, text.find('\0')), '\n');
    words.insert(words.begin(), "cmd");
    Osl::Testing::ArgumentVector arguments(words);

    FailingBoard board;
    board.pid.words.assign(board.pid.words.size(), 0x1FFF);
    Osl::Testing::FailingBlock& block = &command.device == &Osl::Drivers::Zeb::PIDLUT_DEVICE ? board.pid : board.io;
    const std::vector<uint32_t> before = block.words;
    std::ostringstream out;
    try {
        Options options("cmd", "");
        options.add(command.options);
        options.add(MANY_OPTION);
        if (!options.parse(arguments.argc(), arguments.argv()))
            return 0;
        checkNumbers(options);
        command.run(options, {std::shared_ptr<void>(), &block}, out);
    } catch (const Osl::Error&) {
        OSL_ASSERT(block.words == before && out.str().empty());
    }
    return 0;
}
