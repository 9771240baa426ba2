#include "virtual_board/message_file.h"

#include "virtual_board/board_folder.h"
#include "virtual_board/reporting.h"

#include <fmt/format.h>

#include <array>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <vector>

namespace Osl::VirtualBoard {
namespace {

std::string readFrom(int file, std::size_t at)
{
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = ::pread(file, part.data(), part.size(), static_cast<off_t>(at + text.size()))) > 0;)
        text.append(part.data(), static_cast<std::size_t>(size));
    return text;
}

/// Cuts off what is not a whole line, and returns the lines.
std::vector<std::string> takeLines(std::string& text)
{
    text.resize(text.rfind('\n') + 1); // 0 where there is none
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size(); at += lines.back().size() + 1)
        lines.push_back(text.substr(at, text.find('\n', at) - at));
    return lines;
}

} // namespace

MessageFile::MessageFile(const std::filesystem::path& folder, News news)
    : m_Path((folder / std::filesystem::path(MESSAGES_PATH).relative_path()).string()),
      m_File(LinuxCppUtil::makeUniqueFD(m_Path, O_RDONLY)),
      m_Told(news == News::ALL ? 0 : readFrom(*m_File, 0).size())
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor < 0)
        return;
    m_Notifications = LinuxCppUtil::ownFD(descriptor);
    ::inotify_add_watch(descriptor, m_Path.c_str(), IN_MODIFY);
}

std::string MessageFile::news()
{
    std::array<char, 4096> events{};
    while (m_Notifications && ::read(*m_Notifications, events.data(), events.size()) > 0)
        continue;
    std::string text = readFrom(*m_File, m_Told);
    std::string news;
    for (const std::string& line : takeLines(text)) {
        const std::size_t start = line.find(MESSAGE_START);
        news += line.substr(start == std::string::npos ? 0 : start) + '\n';
    }
    m_Told += text.size();
    return news;
}

std::string MessageFile::summary(std::size_t last) const
{
    std::string text = readFrom(*m_File, 0);
    const std::vector<std::string> lines = takeLines(text);
    if (lines.empty())
        return fmt::format("no messages in {}\n", m_Path);
    const std::size_t first = lines.size() > last ? lines.size() - last : 0;
    std::string summary = fmt::format("{} messages in {}{}:\n", lines.size(), m_Path,
                                      first == 0 ? "" : fmt::format(", the last {} of them", last));
    for (std::size_t i = first; i < lines.size(); ++i)
        summary += lines[i] + '\n';
    return summary;
}

} // namespace Osl::VirtualBoard
