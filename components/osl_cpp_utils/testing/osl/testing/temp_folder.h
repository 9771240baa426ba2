#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Osl::Testing {

/// A folder that stands for the root of the file system; removed at the end of its life. Paths are absolute in it.
class TempFolder
{
public:
    TempFolder()
    {
        if (::mkdtemp(m_Root.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
    }
    ~TempFolder() { std::filesystem::remove_all(m_Root); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& root() const { return m_Root; }

    void put(const std::string& path, const std::string& content) const
    {
        std::filesystem::create_directories(std::filesystem::path(m_Root + path).parent_path());
        std::ofstream(m_Root + path, std::ios::binary) << content;
    }
    void put(const std::string& path, const std::vector<uint32_t>& words) const
    {
        put(path, std::string(reinterpret_cast<const char*>(words.data()), words.size() * sizeof(uint32_t)));
    }

    std::string text(const std::string& path) const
    {
        std::ifstream file(m_Root + path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::vector<uint32_t> words(const std::string& path) const
    {
        const std::string bytes = text(path);
        std::vector<uint32_t> words(bytes.size() / sizeof(uint32_t));
        bytes.copy(reinterpret_cast<char*>(words.data()), words.size() * sizeof(uint32_t));
        return words;
    }

    bool has(const std::string& path) const { return std::filesystem::exists(m_Root + path); }
    void remove(const std::string& path) const { std::filesystem::remove(m_Root + path); }

    /// Makes `path` refuse every write with "No space left on device" and read as endless zeros.
    void putFullDevice(const std::string& path) const
    {
        remove(path);
        std::filesystem::create_symlink("/dev/full", m_Root + path);
    }

private:
    std::string m_Root = "/tmp/osl_test.XXXXXX";
};

} // namespace Osl::Testing
