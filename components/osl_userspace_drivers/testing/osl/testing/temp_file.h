#pragma once

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace Osl::Testing {

/// A regular file in the temporary folder that stands for a device; removed at the end of its life.
class TempFile
{
public:
    explicit TempFile(std::size_t bytes = 0)
    {
        const int fd = ::mkstemp(m_Path.data());
        if (fd == -1 || ::ftruncate(fd, static_cast<off_t>(bytes)) != 0)
            throw std::runtime_error("no temporary file");
        ::close(fd);
    }
    ~TempFile() { ::unlink(m_Path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& path() const { return m_Path; }

    std::string content() const
    {
        std::ifstream file(m_Path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_Path = "/tmp/osl_test.XXXXXX";
};

} // namespace Osl::Testing
