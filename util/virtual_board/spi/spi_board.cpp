#include "spi_board.h"

#include "mapped_words.h"

#include <osl/spi_models/spidev_node.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sys/uio.h>
#include <system_error>

namespace Osl::VirtualBoard {
namespace {

using namespace SpiModels;

/// The memory of another process, reached through its thread.
class ThreadMemory : public UserMemory
{
public:
    explicit ThreadMemory(pid_t thread) : m_Thread(thread) {}

    bool copyIn(void* to, uint64_t address, std::size_t bytes) override
    {
        return copy(&::process_vm_readv, to, address, bytes);
    }

    bool copyOut(uint64_t address, const void* from, std::size_t bytes) override
    {
        return copy(&::process_vm_writev, const_cast<void*>(from), address, bytes);
    }

private:
    bool copy(decltype(&::process_vm_readv) call, void* own, uint64_t address, std::size_t bytes) const
    {
        const iovec local{own, bytes};
        const iovec remote{reinterpret_cast<void*>(static_cast<uintptr_t>(address)), bytes};
        return call(m_Thread, &local, 1, &remote, 1, 0) == static_cast<ssize_t>(bytes);
    }

    pid_t m_Thread;
};

template <class Chip>
std::unique_ptr<SpiChip> makeChip(std::span<uint32_t> words, SpiChip::Log log)
{
    return std::make_unique<Chip>(words, std::move(log));
}

std::unique_ptr<SpiChip> makeDac(std::span<uint32_t> words, SpiChip::Log log)
{
    return std::make_unique<Max5868Chip>(std::span(reinterpret_cast<uint8_t*>(words.data()), words.size_bytes()),
                                         std::move(log));
}

/// A position of the board: where the node is, and what is behind it.
struct PositionRow
{
    const char* node;
    const char* chip;
    std::size_t words;
    std::span<const uint32_t> reset;
    std::unique_ptr<SpiChip> (*make)(std::span<uint32_t> words, SpiChip::Log log);
};

constexpr std::array POSITIONS{
    PositionRow{"/dev/spidev0.0", "fpga", FpgaPortChip::WORDS, {}, &makeChip<FpgaPortChip>},
    PositionRow{"/dev/spidev0.1", "max2871", Max2871Chip::WORDS, Max2871Chip::RESET, &makeChip<Max2871Chip>},
    PositionRow{"/dev/spidev0.2", "max5868", Max5868Chip::BYTES / sizeof(uint32_t), {}, &makeDac},
};

} // namespace

struct SpiBoard::Position
{
    Position(const std::filesystem::path& folder, const PositionRow& row)
        : path(row.node),
          memory(folder / (std::string(row.chip) + ".words"), row.words, row.reset),
          log(folder / (std::string(row.chip) + ".log"), std::ios::app),
          chip(row.make(memory.words(), [this](const std::string& line) { log << line << std::endl; })),
          node(*chip)
    {
        // Opening has to work without the driver, and does for any file.
        if (!std::ofstream(path, std::ios::app) || !std::filesystem::is_regular_file(path))
            OSL_RAISE(CppUtil::FileSystemError, "Cannot make " + path.string());
    }

    std::filesystem::path path;
    MappedWords memory;
    std::ofstream log;
    std::unique_ptr<SpiChip> chip;
    SpidevNode node;
};

SpiBoard::SpiBoard(const std::filesystem::path& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    for (const PositionRow& row : POSITIONS)
        m_Positions.push_back(std::make_unique<Position>(folder, row));
}

SpiBoard::~SpiBoard() = default;

std::optional<int> SpiBoard::answer(const IoctlListener::Request& request)
{
    const std::filesystem::path link =
        "/proc/" + std::to_string(request.thread) + "/fd/" + std::to_string(request.descriptor);
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink(link, error);
    const auto position = std::find_if(m_Positions.begin(), m_Positions.end(),
                                       [&](const auto& candidate) { return candidate->path == path; });
    if (position == m_Positions.end())
        return std::nullopt;
    ThreadMemory memory(request.thread);
    const MappedWords::Lock lock((*position)->memory);
    return (*position)->node.request(request.code, request.argument, memory);
}

} // namespace Osl::VirtualBoard
