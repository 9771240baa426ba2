#pragma once

#include "zeb_fpga_shell/shell_cmd_module.h"

#include <istream>
#include <list>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Osl::Utils {

/// The interactive front end: edits and echoes the line itself on a terminal in non-canonical mode without echo, keeps
/// a history for the arrow keys, and hands each line, in lower case, to the installed modules until one handles it.
class Shell
{
public:
    /// What a key stroke does; the numbers are the interface to derived shells.
    enum class InputAction {
        APPEND = 0, ///< to the line, with echo
        ERASE = 1,  ///< the last character
        SUBMIT = 2,
        NONE = 3,
        HISTORY_BACK = 4,
        HISTORY_FORWARD = 5,
        LEAVE = 6,
        IGNORE = 7
    };

    /// Both streams must outlive the shell; nothing is written yet.
    Shell(std::istream& in, std::ostream& out);
    virtual ~Shell() = default;
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    /// Takes the module over; null is ignored. Raises ShellError, and installs nothing, when a command of the module
    /// is built in or in another module already.
    void installModule(std::unique_ptr<ShellCmdModule> module);

    /// Reads and executes lines until the exit command or the end of input; returns 0. Raises ShellError when the input
    /// ends inside a line: a line without its line end may be cut off and is not executed.
    int run();

    virtual std::string getBanner() const { return m_Banner; }
    virtual std::string getPrompt() const { return m_Prompt; }
    virtual std::string getCannotExecuteText(const std::string& line) const;
    virtual std::string getExitCommand() const { return m_ExitCommand; }
    virtual std::string getExitMessage() const { return m_ExitMessage; }
    virtual std::string getListCommand() const { return m_ListCommand; }

    /// Action of the character just read; takes the rest of an arrow key's sequence from the input.
    virtual InputAction classifyInput(char ch);

    /// Non-zero when a module handled the line. A malformed line and the error of a handler are reported on the
    /// output; the latter counts as handled.
    virtual int executeCommand(const std::string& line);

    virtual void listCommands();

private:
    InputAction classifyEscape();
    void erase();
    bool submit();
    void historyBack();
    void historyForward();
    void redisplay(const std::string& text);
    int leaveAtEndOfInput();
    void sayGoodbye();
    bool isNewestAtCursor() const;

    std::vector<std::unique_ptr<ShellCmdModule>> m_Modules;
    std::istream& m_In;
    std::ostream& m_Out;
    std::list<std::string> m_History; ///< oldest first
    std::list<std::string>::const_iterator m_Cursor;
    std::string m_Line;                     ///< being typed
    std::optional<std::string> m_SavedLine; ///< what was being typed when the user went back in the history
    std::string m_Banner = "Ostrel Utill Shell..\n";
    std::string m_Prompt = ">> ";
    std::string m_ExitCommand = "exit";
    std::string m_ExitMessage = "Exiting.......\n\n";
    std::string m_ListCommand = "list";
};

} // namespace Osl::Utils
