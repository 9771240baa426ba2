#pragma once

#include <osl/cpputils/error.h>

#include <filesystem>

namespace Osl::VirtualBoard {

struct BoardError : CppUtil::PrefixedError<"Virtual board Error: ">
{
    using PrefixedError::PrefixedError;
};

/// Where the board notes, one per line, what real hardware would choke on; empty if there is nothing.
inline constexpr const char* COMPLAINTS_PATH = "/dev/zebtsif_complaints";

/// Where the board of a prompt, or of several users, writes all that it has to say, complaints included.
inline constexpr const char* MESSAGES_PATH = "/dev/zebtsif_messages";

/// Below the board's folder, where what leaves through the physical outputs is collected, a file for each.
inline constexpr const char* OUTPUTS_FOLDER = "dev/zebtsif_outputs";

/// How often data for a TX DMA channel came too late, decimal; {} is the channel's number. A real
/// board has no such attribute: there the stream's receivers see it.
inline constexpr const char* TX_UNDERRUNS_ATTRIBUTE = "/sys/class/zebtsif/zebtsif_pktio_tx{}/underruns";

/// Makes of `root` the folder of a board: below it lies one file for each device and attribute, at the path that the
/// thing itself has on a real board ("dev/zebtsif_pidlut"). What is there already keeps its state, what is missing is
/// made as after a reset; a file appears only with its whole content. Raises BoardError, naming the file, when
/// something cannot be made or a file cannot be the device that its name says.
void makeBoard(const std::filesystem::path& root);

/// The same for a folder that is to be kept, unless a board runs there. Raises BoardError also when the folder holds
/// other things and no board.
void makeKeptBoard(const std::filesystem::path& root);

} // namespace Osl::VirtualBoard
