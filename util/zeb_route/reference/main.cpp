#include "reference.h"
#include "zeb_route/command.h"

#include <fmt/format.h>

using namespace Osl::ZebRoute;
using namespace Osl::Reference;

namespace {

const char* wordOf(Argument::Offer offer)
{
    switch (offer) {
    case Argument::Offer::NOTHING:
        break;
    case Argument::Offer::FILES:
        return "path";
    case Argument::Offer::SOURCES:
        return "source";
    case Argument::Offer::PACKETS:
        return "packet";
    case Argument::Offer::INPUTS:
        return "input";
    case Argument::Offer::OUTPUTS:
        return "output";
    case Argument::Offer::STATEMENTS:
        return "statement";
    }
    return "word";
}

OptionReference referenceOf(const Argument& argument)
{
    OptionReference reference;
    if (!argument.isPositional())
        reference.spellings.emplace_back(argument.name);
    const char* const value = argument.isPositional() ? argument.name : argument.value;
    if (*value != '\0')
        reference.value = fmt::format("\\fI{}\\fR", escaped(value));
    reference.help = argument.help;
    if (argument.kind != Argument::Kind::FLAG)
        reference.completes = wordOf(argument.offer);
    return reference;
}

std::vector<CommandReference> allCommands()
{
    std::vector<CommandReference> references;
    for (const Command& command : commands()) {
        CommandReference reference{command.name, fmt::format("{}.\n{}", command.summary, command.details), {}};
        for (const Argument& argument : command.arguments)
            reference.options.push_back(referenceOf(argument));
        references.push_back(std::move(reference));
    }
    return references;
}

} // namespace

int main(int argc, char** argv) { return print(argc, argv, allCommands()); }
