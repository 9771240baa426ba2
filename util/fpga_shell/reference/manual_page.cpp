#include "reference.h"

#include <fmt/format.h>

namespace Osl::Utils {
namespace {

/// A text of the tool as running text: what would be a macro or an escape is neither.
std::string escaped(std::string_view text)
{
    std::string line;
    for (const char character : text) {
        if (line.empty() && (character == '.' || character == '\''))
            line += "\\&";
        if (character == '\\')
            line += "\\e";
        else if (character == '-')
            line += "\\-";
        else if (character == '\n')
            line += "\n.br\n";
        else
            line += character;
    }
    return line;
}

const char* argumentOf(OptionKind kind)
{
    switch (kind) {
    case OptionKind::FLAG:
        break;
    case OptionKind::NUMBER:
        return " \\fINUMBER\\fR";
    case OptionKind::TEXT:
        return " \\fITEXT\\fR";
    case OptionKind::PATH:
        return " \\fIPATH\\fR";
    case OptionKind::NUMBERS:
        return " \\fINUMBER\\fR[,\\fINUMBER\\fR...]";
    }
    return "";
}

std::string optionEntry(const OptionDecl& option)
{
    std::string names;
    if (!option.shortName().empty())
        names = fmt::format("\\fB\\-{}\\fR, ", option.shortName());
    names += fmt::format("\\fB\\-\\-{}\\fR{}", escaped(option.longName()), argumentOf(option.kind));
    std::string help = escaped(option.help);
    if (option.defaultValue != nullptr)
        help += fmt::format(" (default: {})", *option.defaultValue == '\0' ? "\"\"" : escaped(option.defaultValue));
    return fmt::format(".TP\n{}\n{}\n", names, help);
}

} // namespace

std::string manualSection(const CommandReference& command)
{
    std::string section = fmt::format(".SS {}\n{}\n", command.name, escaped(command.description));
    for (const OptionDecl& option : command.options)
        if (option.longName() != HELP_OPTION.longName())
            section += optionEntry(option);
    return section;
}

} // namespace Osl::Utils
