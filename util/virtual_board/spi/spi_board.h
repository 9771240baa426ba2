#pragma once

#include "ioctl_listener.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace Osl::VirtualBoard {

/// The board's SPI positions: "/dev/spidev0.0" with the FPGA's port, "0.1" with the synthesiser, "0.2" with the RF DAC.
/// The folder holds two files for each chip: what it holds, in 32-bit words (CHIP.words), and a line for each thing
/// that it did, in their order (CHIP.log).
class SpiBoard
{
public:
    /// Makes the folder's files and the nodes, as far as they are missing. Raises CppUtil::FileSystemError.
    explicit SpiBoard(const std::filesystem::path& folder);
    ~SpiBoard();
    SpiBoard(const SpiBoard&) = delete;
    SpiBoard& operator=(const SpiBoard&) = delete;

    /// Serves a request as the driver of the node would; nullopt when it is for another file.
    std::optional<int> answer(const IoctlListener::Request& request);

private:
    struct Position;
    std::vector<std::unique_ptr<Position>> m_Positions;
};

} // namespace Osl::VirtualBoard
