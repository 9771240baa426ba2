#include "reference.h"

#include <fmt/format.h>

#include <vector>

namespace Osl::Utils {
namespace {

/// The option as the user types it: "-o" and "--offset".
std::vector<std::string> spellings(const OptionDecl& option)
{
    std::vector<std::string> words;
    if (!option.shortName().empty())
        words.push_back(fmt::format("-{}", option.shortName()));
    words.push_back(fmt::format("--{}", option.longName()));
    return words;
}

/// What follows the option: the words that it can take, and whether it takes paths. No line for a flag.
std::string valueLine(const OptionDecl& option)
{
    if (option.kind == OptionKind::FLAG)
        return "";
    const auto words = option.words == nullptr ? std::vector<std::string_view>{} : option.words();
    return fmt::format("                {}) value={} words='{}' ;;\n", fmt::join(spellings(option), " | "),
                       option.kind == OptionKind::PATH ? "path" : "word", fmt::join(words, " "));
}

} // namespace

std::string completionBranch(const CommandReference& command)
{
    std::vector<std::string> options;
    std::string values;
    for (const OptionDecl& option : command.options) {
        for (std::string& word : spellings(option))
            options.push_back(std::move(word));
        values += valueLine(option);
    }
    if (!values.empty())
        values = fmt::format("            case $previous in\n{}            esac\n", values);
    return fmt::format("        {})\n            options='{}'\n{}            ;;\n", command.name,
                       fmt::join(options, " "), values);
}

} // namespace Osl::Utils
