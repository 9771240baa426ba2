#include "reference.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>

namespace Osl::Reference {
namespace {

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

} // namespace

int print(int argc, char** argv, const std::vector<CommandReference>& commands)
{
    const std::string_view kind = argc == 4 ? argv[1] : "";
    if (kind != "manual" && kind != "completion") {
        std::cerr << "usage: " << argv[0] << " manual|completion TEMPLATE VERSION\n";
        return 1;
    }
    std::string text;
    if (!readFile(argv[2], text)) {
        std::cerr << argv[0] << ": cannot read " << argv[2] << std::endl;
        return 1;
    }
    std::string names;
    std::string sections;
    for (const CommandReference& command : commands) {
        names += (names.empty() ? "" : " ") + command.name;
        sections += kind == "manual" ? manualSection(command) : completionBranch(command, {"-h", "--help"});
    }
    sections.pop_back(); // the line's end is the template's
    replaceAll(text, "@NAMES@", names);
    // In the completion the marker is a comment, so that the template can be checked as a script.
    replaceAll(text, kind == "manual" ? "@COMMANDS@" : "# @COMMANDS@", sections);
    replaceAll(text, "@VERSION@", argv[3]);
    std::cout << text << std::flush;
    return std::cout ? 0 : 1;
}

} // namespace Osl::Reference
