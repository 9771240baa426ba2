#pragma once

#include <cstdint>
#include <filesystem>

namespace Osl::VirtualBoard {

/// A kernel driver's byte counter in an attribute file. The file is replaced whole, so that nobody reads half a number.
class ByteCounter
{
public:
    explicit ByteCounter(std::filesystem::path file) : m_File(std::move(file)) {}

    /// Shows `bytes` on top of what the file said when the board started, when that is not what it shows already.
    void show(uint64_t bytes);

private:
    std::filesystem::path m_File;
    uint64_t m_Start = readFile();
    uint64_t m_Shown = 0;

    uint64_t readFile() const;
};

} // namespace Osl::VirtualBoard
