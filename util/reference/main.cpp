#include "reference.h"
#include "zeb_fpga_shell/cli/registry.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string_view>

using namespace Osl::Utils;

namespace {

constexpr const char* USAGE =
    "usage: zeb_fpga_shell_reference manual|completion TEMPLATE VERSION\n"
    "\n"
    "Prints the manual page or the completion script of bash: the template, with what the tool\n"
    "knows of its commands in the place of @NAMES@, @COMMANDS@ and @VERSION@.\n";

std::vector<CommandReference> allCommands()
{
    CliModule module;
    registerCommands(module, nullptr);
    std::vector<CommandReference> commands;
    for (const auto& [name, command] : module.commands()) {
        Options options(name, command->getDescription());
        command->addOptions(options);
        commands.push_back({name, command->getDescription(), options.declarations()});
    }
    return commands;
}

void replaceAll(std::string& text, std::string_view marker, const std::string& replacement)
{
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + replacement.size()))
        text.replace(at, marker.size(), replacement);
}

bool readFile(const char* path, std::string& text)
{
    std::ifstream file(path);
    std::ostringstream content;
    content << file.rdbuf();
    text = content.str();
    return file && content;
}

int print(std::string_view kind, const char* templatePath, const char* version)
{
    std::string text;
    if (!readFile(templatePath, text)) {
        std::cerr << "zeb_fpga_shell_reference: cannot read " << templatePath << std::endl;
        return 1;
    }
    std::string names;
    std::string sections;
    for (const CommandReference& command : allCommands()) {
        names += (names.empty() ? "" : " ") + command.name;
        sections += kind == "manual" ? manualSection(command) : completionBranch(command);
    }
    sections.pop_back(); // the line's end is the template's
    replaceAll(text, "@NAMES@", names);
    replaceAll(text, "@COMMANDS@", sections);
    replaceAll(text, "@VERSION@", version);
    std::cout << text << std::flush;
    return std::cout ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view kind = argc == 4 ? argv[1] : "";
    if (kind != "manual" && kind != "completion") {
        std::cerr << USAGE;
        return 1;
    }
    try {
        return print(kind, argv[2], argv[3]);
    } catch (const std::exception& error) {
        std::cerr << "zeb_fpga_shell_reference: " << error.what() << std::endl;
        return 1;
    }
}
