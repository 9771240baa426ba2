#pragma once

#include <osl/linutils/raii_filedescriptors.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace Osl::VirtualBoard {

/// The file to which the board in a folder writes its messages, as others read it.
class MessageFile
{
public:
    enum class News {
        ALL, ///< what is there already as well
        FROM_NOW_ON
    };

    /// Raises CppUtil::FileSystemError.
    MessageFile(const std::filesystem::path& folder, News news);

    /// Readable when there may be news, until news() is called; negative where the system cannot tell.
    int descriptor() const { return m_Notifications ? *m_Notifications : -1; }

    /// The lines since the last call, without their times.
    std::string news();

    /// How many messages there are, and up to `last` of them.
    std::string summary(std::size_t last) const;

    const std::string& path() const { return m_Path; }

private:
    std::string m_Path;
    LinuxCppUtil::UniqueFD m_File;
    LinuxCppUtil::UniqueFD m_Notifications;
    std::size_t m_Told; ///< bytes
};

} // namespace Osl::VirtualBoard
