#include "reference.h"

#include <fmt/format.h>

namespace Osl::Reference {
namespace {

/// What follows the option: what completes it. No line for a flag.
std::string valueLine(const OptionReference& option)
{
    if (option.completes.empty() || option.spellings.empty())
        return "";
    return fmt::format("                {}) value={} words='{}' ;;\n", fmt::join(option.spellings, " | "),
                       option.completes, fmt::join(option.words, " "));
}

} // namespace

std::string completionBranch(const CommandReference& command, const std::vector<std::string>& help)
{
    std::vector<std::string> options;
    std::string values;
    std::string words;
    for (const OptionReference& option : command.options) {
        options.insert(options.end(), option.spellings.begin(), option.spellings.end());
        values += valueLine(option);
        if (option.spellings.empty())
            words = fmt::format(" positional={}", option.completes);
    }
    options.insert(options.end(), help.begin(), help.end());
    if (!values.empty())
        values = fmt::format("            case $previous in\n{}            esac\n", values);
    return fmt::format("        {})\n            options='{}'{}\n{}            ;;\n", command.name,
                       fmt::join(options, " "), words, values);
}

} // namespace Osl::Reference
