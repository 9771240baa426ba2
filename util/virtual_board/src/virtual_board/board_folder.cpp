#include "virtual_board/board_folder.h"

#include "virtual_board/reset_state.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace Osl::VirtualBoard {
namespace fs = std::filesystem;

namespace {

void makeFolder(const fs::path& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        OSL_RAISE(BoardError, fmt::format("Cannot make folder {}: {}", folder.string(), error.message()));
}

void checkKept(const fs::path& file, const MemoryDevice& memory)
{
    if (!fs::is_regular_file(file))
        OSL_RAISE(BoardError,
                  fmt::format("{} is not a regular file; it cannot be the memory of a virtual board", file.string()));
    if (fs::file_size(file) != memory.device.mapSize)
        OSL_RAISE(BoardError, fmt::format("{} has {} bytes, the device has {}; move it away to get a fresh one",
                                          file.string(), fs::file_size(file), memory.device.mapSize));
}

/// Written under another name and linked to its own: a board that is started at the same time, or an interruption,
/// leaves either no file or a whole one.
void makeFresh(const fs::path& file, const MemoryDevice& memory)
{
    const fs::path draft = file.parent_path() / fmt::format(".{}.{}", file.filename().string(), ::getpid());
    const std::vector<uint32_t> words = resetState(memory);
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(words.data()),
                 static_cast<std::streamsize>(words.size() * sizeof words[0]));
    stream.close();
    const int writeError = stream ? 0 : errno;
    const bool linked = stream && (::link(draft.c_str(), file.c_str()) == 0 || errno == EEXIST);
    const int linkError = errno;
    ::unlink(draft.c_str());
    if (!linked)
        OSL_RAISE(BoardError, fmt::format("Cannot make {}: {}", file.string(),
                                          std::strerror(writeError != 0 ? writeError : linkError)));
}

} // namespace

void makeBoard(const fs::path& root)
{
    makeFolder(root / "dev");
    makeFolder(root / "sys/class");
    for (const MemoryDevice& memory : MEMORY_DEVICES) {
        const fs::path file = root / fs::path(memory.device.path).relative_path();
        std::error_code error;
        if (fs::exists(fs::symlink_status(file, error)))
            checkKept(file, memory);
        else
            makeFresh(file, memory);
    }
}

} // namespace Osl::VirtualBoard
