#include "zeb_fpga_shell/parsed_shell_cmd.h"

#include <osl/cpputils/error.h>

#include <utility>

namespace Osl::Utils {
namespace {

enum class State { NAME, GAP, WORD, QUOTED };

} // namespace

ParsedShellCmd::ParsedShellCmd(const std::string& line)
{
    State state = State::NAME;
    std::string token;
    const auto endArgument = [this, &state, &token] {
        m_Arguments.push_back(std::exchange(token, {}));
        state = State::GAP;
    };

    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool last = i + 1 == line.size();
        if (c == '\0')
            continue;
        switch (state) {
        case State::NAME:
            // A blank at the very end belongs to the name, so "list " is not "list".
            if (c != ' ' || last)
                token += c;
            if (c == ' ' || last) {
                m_Name = std::exchange(token, {});
                state = State::GAP;
            }
            break;
        case State::GAP:
            if (c == '"') {
                state = State::QUOTED;
            } else if (c != ' ') {
                token += c;
                state = State::WORD;
            }
            break;
        case State::WORD:
            if (c != ' ')
                token += c;
            if (c == ' ' || last)
                endArgument();
            break;
        case State::QUOTED:
            if (c == '"')
                endArgument();
            else
                token += c;
            break;
        }
    }

    if (state == State::QUOTED)
        OSL_RAISE(CppUtil::ParsingError, "Failed parsing of shell command. Unterminated quoted string");
    if (state != State::GAP)
        OSL_RAISE(CppUtil::ParsingError, "Failed parsing of shell command.");
    m_RawLine = line;
}

} // namespace Osl::Utils
