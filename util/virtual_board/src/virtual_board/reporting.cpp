#include "virtual_board/reporting.h"

#include "virtual_board/board_folder.h"

#include <osl/linutils/raii_filedescriptors.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace Osl::VirtualBoard {
namespace {

bool s_Dated = false;

} // namespace

std::string dateOf(std::time_t moment)
{
    std::tm parts = {};
    ::localtime_r(&moment, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%F %T", &parts)};
}

void tell(const std::string& what)
{
    // In one piece: others may write there as well.
    std::cerr << (s_Dated ? dateOf(std::time(nullptr)) + ' ' : "") + MESSAGE_START + what + '\n' << std::flush;
}

void tellInFile(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_APPEND | O_TRUNC | O_CLOEXEC);
    if (descriptor < 0)
        OSL_RAISE(BoardError, "Cannot open " + path + ": " + std::strerror(errno));
    const auto file = LinuxCppUtil::ownFD(descriptor);
    ::dup2(descriptor, STDERR_FILENO);
    s_Dated = true;
}

} // namespace Osl::VirtualBoard
