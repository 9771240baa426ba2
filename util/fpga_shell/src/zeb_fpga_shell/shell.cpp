#include "zeb_fpga_shell/shell.h"

#include "zeb_fpga_shell/shell_error.h"

#include <osl/cpputils/stringutils.h>
#include <osl/linutils/stream_buffers.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace Osl::Utils {
namespace {

constexpr char ESC = '\x1B';
constexpr char DEL = '\x7F';
constexpr const char* CURSOR_LEFT = "\x1B[D";

void writeTimes(std::ostream& out, std::size_t times, const char* text)
{
    for (std::size_t i = 0; i < times; ++i)
        out << text;
}

} // namespace

Shell::Shell(std::istream& in, std::ostream& out) : m_In(in), m_Out(out), m_Cursor(m_History.cend()) {}

void Shell::installModule(std::unique_ptr<ShellCmdModule> module)
{
    if (!module)
        return;
    for (const ShellCmdModule::CommandInfo& command : module->getCommands()) {
        const std::string& name = command.name;
        if (name == getExitCommand() || name == getListCommand() ||
            std::any_of(m_Modules.begin(), m_Modules.end(),
                        [&name](const auto& installed) { return installed->hasCommand(name); }))
            OSL_RAISE(ShellError, "Failed installing command-module. Module has redundant command (" + name + ")");
    }
    m_Modules.push_back(std::move(module));
}

int Shell::run()
{
    m_Out << getBanner() << getPrompt();
    for (;;) {
        if (!m_Out.flush()) // the user must see what was echoed before the next key
            OSL_RAISE(ShellError, "The output could not be written" + LinuxCppUtil::failureReason(m_Out) + ".");
        char ch = 0;
        if (!m_In.get(ch))
            return leaveAtEndOfInput();
        switch (classifyInput(ch)) {
        case InputAction::APPEND:
            m_Line += ch;
            m_Out << ch;
            break;
        case InputAction::ERASE:
            erase();
            break;
        case InputAction::SUBMIT:
            if (!submit())
                return 0;
            break;
        case InputAction::HISTORY_BACK:
            historyBack();
            break;
        case InputAction::HISTORY_FORWARD:
            historyForward();
            break;
        case InputAction::LEAVE:
            m_Out.flush();
            return 0;
        case InputAction::NONE:
        case InputAction::IGNORE:
            break;
        }
    }
}

std::string Shell::getCannotExecuteText(const std::string& line) const
{
    return "\ncannot execute command: \"" + line + "\"";
}

Shell::InputAction Shell::classifyInput(char ch)
{
    if (ch >= ' ' && ch < DEL)
        return InputAction::APPEND;
    switch (ch) {
    case DEL:
        return InputAction::ERASE;
    case '\n':
        return InputAction::SUBMIT;
    case ESC:
        return classifyEscape();
    default:
        return InputAction::IGNORE;
    }
}

/// Knows sequences of one character behind "ESC [" only; of a longer one the rest arrives as typed characters.
Shell::InputAction Shell::classifyEscape()
{
    constexpr int END_OF_INPUT = std::istream::traits_type::eof();
    const int next = m_In.peek();
    if (next == END_OF_INPUT)
        return InputAction::IGNORE;
    if (next != '[')
        return InputAction::APPEND;
    m_In.get();
    switch (m_In.get()) {
    case 'A':
        return InputAction::HISTORY_BACK;
    case 'B':
        return InputAction::HISTORY_FORWARD;
    default:
        return InputAction::IGNORE;
    }
}

int Shell::executeCommand(const std::string& line)
{
    try {
        const ParsedShellCmd cmd(line);
        for (const auto& module : m_Modules) {
            if (const int result = module->execute(cmd, m_In, m_Out); result != 0)
                return result;
        }
        return 0;
    } catch (const CppUtil::ParsingError&) {
        m_Out << "\nMall-formed Command: " << line;
        return 0;
    } catch (const Error& error) {
        m_Out << error.what() << '\n';
        return 1;
    }
}

void Shell::listCommands()
{
    std::map<std::string, ShellCmdModule::CommandInfo> commands;
    const auto add = [&commands](const ShellCmdModule::CommandInfo& command) { commands[command.name] = command; };
    add({.moduleName = "shell", .description = "Exit the shell.", .name = getExitCommand()});
    add({.moduleName = "shell", .description = "List the installed commands of the shell.", .name = getListCommand()});
    for (const auto& module : m_Modules)
        std::ranges::for_each(module->getCommands(), add);

    m_Out << "\nInstalled commands:\n" << std::string(75, '-') << '\n';
    for (const auto& [name, command] : commands)
        m_Out << name << " (" << command.moduleName << ") ---" << command.description << '\n';
}

void Shell::erase()
{
    if (m_Line.empty())
        return;
    m_Line.pop_back();
    m_Out << CURSOR_LEFT << ' ' << CURSOR_LEFT;
}

/// Answers false when the user leaves.
bool Shell::submit()
{
    const std::string line = CppUtil::toLower(std::exchange(m_Line, {}));
    if (!line.empty()) {
        if (line == getExitCommand()) {
            sayGoodbye();
            return false;
        }
        m_History.push_back(line);
        m_Cursor = std::prev(m_History.cend());
        if (line == getListCommand())
            listCommands();
        else if (executeCommand(line) == 0)
            m_Out << getCannotExecuteText(line);
    }
    m_SavedLine.reset();
    m_Out << '\n' << getPrompt();
    return true;
}

bool Shell::isNewestAtCursor() const { return m_History.empty() || m_Cursor == std::prev(m_History.cend()); }

/// Shows the element at the cursor, then moves; historyForward() moves, then shows.
void Shell::historyBack()
{
    if (m_History.empty())
        return;
    if (isNewestAtCursor())
        m_SavedLine = m_Line;
    redisplay(*m_Cursor);
    if (m_Cursor != m_History.cbegin())
        --m_Cursor;
}

void Shell::historyForward()
{
    if (!isNewestAtCursor())
        redisplay(*++m_Cursor);
    else if (m_SavedLine)
        redisplay(*std::exchange(m_SavedLine, std::nullopt));
}

/// Replaces the line on the terminal and in the editor; blanks over what the old one leaves behind the new one.
void Shell::redisplay(const std::string& text)
{
    m_Out << '\r' << getPrompt() << text;
    const std::size_t rest = m_Line.size() > text.size() ? m_Line.size() - text.size() : 0;
    writeTimes(m_Out, rest, " ");
    writeTimes(m_Out, rest, CURSOR_LEFT);
    m_Line = text;
}

int Shell::leaveAtEndOfInput()
{
    if (!m_Line.empty()) {
        m_Out << std::endl; // keeps the report off the echoed line
        OSL_RAISE(ShellError, fmt::format("The input ended inside the line \"{}\", which was not executed.", m_Line));
    }
    sayGoodbye();
    return 0;
}

void Shell::sayGoodbye() { m_Out << '\n' << getExitMessage() << std::flush; }

} // namespace Osl::Utils
