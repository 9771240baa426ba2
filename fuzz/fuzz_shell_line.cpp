// Keys as a user may press them in the interactive shell, and the pieces that its lines and texts are taken apart by.

#include "zeb_fpga_shell/parsed_shell_cmd.h"
#include "zeb_fpga_shell/shell.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/error.h>
#include <osl/cpputils/stringutils.h>

#include <charconv>
#include <sstream>

using namespace Osl::Utils;

namespace {

/// The command that the line is split into says the same when it is put together again.
void checkLine(const std::string& line)
{
    try {
        const ParsedShellCmd command(line);
        OSL_ASSERT(command.getRawLine() == line);
        // Only a blank that ends the line belongs to the name.
        OSL_ASSERT(command.getName().find(' ') == std::string::npos || command.getArguments().empty());
        std::string quoted = command.getName();
        for (const std::string& argument : command.getArguments()) {
            if (argument.find('"') != std::string::npos)
                return; // cannot be quoted
            quoted += " \"" + argument + '"';
        }
        if (quoted.empty())
            return;
        const ParsedShellCmd again(quoted);
        OSL_ASSERT(again.getName() == command.getName() && again.getArguments() == command.getArguments());
    } catch (const Osl::CppUtil::ParsingError&) {
    }
}

void checkNumber(const std::string& text)
{
    const bool isHex = text.starts_with("0x");
    const char* const first = text.data() + (isHex ? 2 : 0);
    const char* const end = text.data() + text.size();
    uint32_t value = 0;
    const auto [behind, error] = std::from_chars(first, end, value, isHex ? 16 : 10);
    const std::optional<uint32_t> parsed = Osl::CppUtil::parseUint32(text);
    OSL_ASSERT(parsed.has_value() == (error == std::errc() && behind == end));
    OSL_ASSERT(!parsed || *parsed == value);
}

/// Whatever is typed, the shell ends with the input and hands over lines in lower case.
void checkShell(const std::string& keys)
{
    std::istringstream in(keys);
    std::ostringstream out;
    Shell shell(in, out);
    auto module = std::make_unique<ShellCmdModule>("module");
    module->addCommand("a", "usage", "description", [](const ParsedShellCmd& command, std::istream&, std::ostream&) {
        OSL_ASSERT(Osl::CppUtil::toLower(command.getRawLine()) == command.getRawLine());
        return command.getArguments().empty();
    });
    shell.installModule(std::move(module));
    try {
        OSL_ASSERT(shell.run() == 0);
    } catch (const ShellError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkLine(text);
    checkNumber(text);
    checkShell(text);
    return 0;
}
