#include "reference.h"

#include <fmt/format.h>

namespace Osl::Reference {
namespace {

std::string optionEntry(const OptionReference& option)
{
    std::vector<std::string> names;
    for (const std::string& spelling : option.spellings)
        names.push_back(fmt::format("\\fB{}\\fR", escaped(spelling)));
    std::string head = fmt::format("{}", fmt::join(names, ", "));
    if (!option.value.empty())
        head += (head.empty() ? "" : " ") + option.value;
    return fmt::format(".TP\n{}\n{}\n", head, escaped(option.help));
}

} // namespace

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

std::string manualSection(const CommandReference& command)
{
    std::string section = fmt::format(".SS {}\n{}\n", command.name, escaped(command.description));
    for (const OptionReference& option : command.options)
        section += optionEntry(option);
    return section;
}

} // namespace Osl::Reference
