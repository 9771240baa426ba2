#pragma once

#include <osl/testing/temp_folder.h>

namespace Osl::Testing {

/// A regular file, in a folder of its own, that stands for a device.
class TempFile
{
public:
    explicit TempFile(std::size_t bytes = 0)
    {
        m_Folder.put("/file", "");
        std::filesystem::resize_file(m_Path, bytes);
    }
    const std::string& path() const { return m_Path; }
    std::string content() const { return m_Folder.text("/file"); }

private:
    TempFolder m_Folder;
    std::string m_Path = m_Folder.root() + "/file";
};

} // namespace Osl::Testing
