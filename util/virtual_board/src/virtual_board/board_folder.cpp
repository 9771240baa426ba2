#include "virtual_board/board_folder.h"

#include "virtual_board/board_socket.h"
#include "virtual_board/reset_state.h"

#include <osl/userspace_drivers/drivers/zeb/zeb_attributes.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <span>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Osl::VirtualBoard {
namespace fs = std::filesystem;

namespace {

constexpr mode_t DEVICE_MODE = 0644;
constexpr const char* COUNTER_RESET = "0\n";
constexpr const char* DEVICE_PREFIX = "zebtsif_";        ///< of most of the board's files in dev
constexpr auto MAKE_PATIENCE = std::chrono::seconds(30); ///< while others make the same board

void makeFolder(const fs::path& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        OSL_RAISE(BoardError, fmt::format("Cannot make folder {}: {}", folder.string(), error.message()));
}

/// Whether anything stands at the file's place, a link that leads nowhere included.
bool isThere(const fs::path& file)
{
    std::error_code error;
    return fs::exists(fs::symlink_status(file, error));
}

void checkRegular(const fs::path& file, const char* purpose)
{
    if (!fs::is_regular_file(file))
        OSL_RAISE(BoardError,
                  fmt::format("{} is not a regular file; it cannot be {} of a virtual board", file.string(), purpose));
}

void checkKept(const fs::path& file, const MemoryDevice& memory)
{
    checkRegular(file, "the memory");
    if (fs::file_size(file) != memory.device.mapSize)
        OSL_RAISE(BoardError, fmt::format("{} has {} bytes, the device has {}; move it away to get a fresh one",
                                          file.string(), fs::file_size(file), memory.device.mapSize));
}

/// Written under another name and linked to its own: a board that is started at the same time, or an interruption,
/// leaves either no file or a whole one.
void makeFresh(const fs::path& file, std::span<const char> content)
{
    const fs::path draft = file.parent_path() / fmt::format(".{}.{}", file.filename().string(), ::getpid());
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), std::ssize(content));
    stream.close();
    const int writeError = stream ? 0 : errno;
    const bool linked = stream && (::link(draft.c_str(), file.c_str()) == 0 || errno == EEXIST);
    const int linkError = errno;
    ::unlink(draft.c_str());
    if (!linked)
        OSL_RAISE(BoardError, fmt::format("Cannot make {}: {}", file.string(),
                                          std::strerror(writeError != 0 ? writeError : linkError)));
}

/// Whether nobody would miss the folder, or a board was made in it.
bool canBeBoard(const fs::path& root)
{
    std::error_code error;
    if (fs::is_empty(root, error) || error || isThere(root / LOCK_FILE))
        return true; // what cannot be read is told when a file is made there
    return std::any_of(fs::directory_iterator(root / "dev", error), {}, [](const fs::directory_entry& entry) {
        return entry.path().filename().string().starts_with(DEVICE_PREFIX);
    });
}

/// Each file is to be bound into a view.
void checkLinks(const fs::path& folder)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code error;
        if (!fs::exists(entry.path(), error))
            OSL_RAISE(BoardError, fmt::format("{} is a link that leads nowhere", entry.path().string()));
    }
}

/// A pipe stands for a stream device. What is there already may be anything: a plain file in a channel's place takes
/// down every transfer.
void makeStream(const fs::path& file)
{
    if (::mkfifo(file.c_str(), DEVICE_MODE) != 0 && errno != EEXIST)
        OSL_RAISE(BoardError, fmt::format("Cannot make {}: {}", file.string(), std::strerror(errno)));
}

void makeText(const fs::path& file, const char* text)
{
    makeFolder(file.parent_path());
    if (isThere(file))
        checkRegular(file, "an attribute");
    else if (!(std::ofstream(file) << text).flush())
        OSL_RAISE(BoardError, fmt::format("Cannot make {}: {}", file.string(), std::strerror(errno)));
}

void makePacketPort(const fs::path& root)
{
    const auto place = [&root](const std::string& path) { return root / fs::path(path).relative_path(); };
    makeStream(place(Drivers::Zeb::PKTIO_RX_PATH));
    makeText(place(Drivers::Zeb::PKTIO_RX_BYTES_ATTRIBUTE), COUNTER_RESET);
    for (unsigned channel = 0; channel < Drivers::Zeb::PKTIO_TX_CHANNELS; ++channel) {
        makeStream(place(Drivers::Zeb::PKTIO_TX_PATH + std::to_string(channel)));
        for (const char* counter : {Drivers::Zeb::PKTIO_TX_BYTES_ATTRIBUTE, TX_UNDERRUNS_ATTRIBUTE})
            makeText(place(fmt::format(fmt::runtime(counter), channel)), COUNTER_RESET);
    }
    for (const char* notes : {COMPLAINTS_PATH, MESSAGES_PATH})
        makeText(place(notes), "");
}

} // namespace

void makeBoard(const fs::path& root)
{
    makeFolder(root / "dev");
    makeFolder(root / "sys/class");
    makeFolder(root / OUTPUTS_FOLDER);
    for (const MemoryDevice& memory : MEMORY_DEVICES) {
        const fs::path file = root / fs::path(memory.device.path).relative_path();
        if (isThere(file)) {
            checkKept(file, memory);
            continue;
        }
        const std::vector<uint32_t> words = resetState(memory);
        makeFresh(file, {reinterpret_cast<const char*>(words.data()), words.size() * sizeof words[0]});
    }
    for (const AttributeFile& attribute : attributeFiles()) {
        const fs::path file = root / fs::path(attribute.path).relative_path();
        makeFolder(file.parent_path());
        if (isThere(file))
            checkRegular(file, "an attribute");
        else
            makeFresh(file, attribute.content);
    }
    makePacketPort(root);
}

void makeKeptBoard(const fs::path& root)
{
    makeFolder(root);
    if (!canBeBoard(root))
        OSL_RAISE(BoardError, fmt::format("{} holds other things and no board; a new or an empty folder becomes one",
                                          root.string()));
    const BoardLocks locks(root);
    const auto coming = locks.comeOrGo({.duration = MAKE_PATIENCE, .stopped = {}});
    try {
        const auto notRunning = locks.run({});
        makeBoard(root);
    } catch (const LinuxCppUtil::LockError&) {
        // a board runs there, and has its files
    }
    checkLinks(root / "dev");
}

} // namespace Osl::VirtualBoard
