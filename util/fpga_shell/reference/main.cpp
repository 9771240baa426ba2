#include "reference.h"
#include "zeb_fpga_shell/cli/registry.h"

#include <fmt/format.h>

using namespace Osl::Utils;
using namespace Osl::Reference;

namespace {

const char* valueOf(OptionKind kind)
{
    switch (kind) {
    case OptionKind::FLAG:
        break;
    case OptionKind::NUMBER:
        return "\\fINUMBER\\fR";
    case OptionKind::TEXT:
        return "\\fITEXT\\fR";
    case OptionKind::PATH:
        return "\\fIPATH\\fR";
    case OptionKind::NUMBERS:
        return "\\fINUMBER\\fR[,\\fINUMBER\\fR...]";
    }
    return "";
}

OptionReference referenceOf(const OptionDecl& option)
{
    OptionReference reference;
    if (!option.shortName().empty())
        reference.spellings.push_back(fmt::format("-{}", option.shortName()));
    reference.spellings.push_back(fmt::format("--{}", option.longName()));
    reference.value = valueOf(option.kind);
    reference.help = option.help;
    if (option.defaultValue != nullptr)
        reference.help += fmt::format(" (default: {})", *option.defaultValue == '\0' ? "\"\"" : option.defaultValue);
    if (option.words != nullptr)
        reference.words = option.words();
    if (option.kind != OptionKind::FLAG)
        reference.completes = option.kind == OptionKind::PATH ? "path" : "word";
    return reference;
}

std::vector<CommandReference> allCommands()
{
    CliModule module;
    registerCommands(module, nullptr);
    std::vector<CommandReference> commands;
    for (const auto& [name, command] : module.commands()) {
        Options options(name, command->getDescription());
        command->addOptions(options);
        CommandReference reference{name, command->getDescription(), {}};
        for (const OptionDecl& option : options.declarations())
            if (option.longName() != HELP_OPTION.longName())
                reference.options.push_back(referenceOf(option));
        commands.push_back(std::move(reference));
    }
    return commands;
}

} // namespace

int main(int argc, char** argv) { return print(argc, argv, allCommands()); }
