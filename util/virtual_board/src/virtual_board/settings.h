#pragma once

#include "virtual_board/feed.h"
#include "virtual_board/stream_outputs.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// What is fed into a physical input.
struct FeedSettings
{
    uint32_t phyIIdx;
    std::string file;
};

/// What the program was asked for.
struct Settings
{
    std::filesystem::path folder;
    Network network = Network::NONE;
    Feed::Pace pace = Feed::Pace::PCR;
    std::vector<FeedSettings> feeds{};
    char** command = nullptr; ///< empty: only the folder is to be made
};

/// Reads the program's arguments, its name first. Raises CppUtil::InvalidArgumentError, whose text says what is wrong.
Settings readArguments(int argc, char** argv);

} // namespace Osl::VirtualBoard
