#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Manual pages and completions of bash, printed from what the programs themselves declare.
namespace Osl::Reference {

/// An option, or a group of words, of a command.
struct OptionReference
{
    std::vector<std::string> spellings; ///< "-o", "--offset"; none for words
    std::string value;                  ///< what stands for its value, in the markup of manual pages; "" for a flag
    std::string help;
    std::vector<std::string_view> words; ///< that its value can be
    /// What completes its value: "word" for its words alone, "path" for files too, or a word of the program's template;
    /// "" for a flag.
    std::string completes;
};

struct CommandReference
{
    std::string name;
    std::string description;
    std::vector<OptionReference> options; ///< in the order of the help text, without the help option
};

/// A text as running text of a manual page: what would be a macro or an escape is neither.
std::string escaped(std::string_view text);

/// The section of the manual page (man macros) on `command`.
std::string manualSection(const CommandReference& command);

/// The branch of the completion script's choice by command. `help` are the spellings of the help option.
std::string completionBranch(const CommandReference& command, const std::vector<std::string>& help);

/// The program that prints them: `manual|completion TEMPLATE VERSION` prints the template, with what is known of the
/// commands in the place of @NAMES@, @COMMANDS@ and @VERSION@. Returns the exit status.
int print(int argc, char** argv, const std::vector<CommandReference>& commands);

} // namespace Osl::Reference
