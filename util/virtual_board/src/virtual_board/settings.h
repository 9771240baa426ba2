#pragma once

#include "virtual_board/feed.h"
#include "virtual_board/network.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Osl::VirtualBoard {

/// What is fed into a physical input.
struct FeedSettings
{
    uint32_t phyIIdx;
    std::string port; ///< its name
    std::string file;
};

enum class Messages { ON_STANDARD_ERROR, IN_FILE };

/// What the program was asked for.
struct Settings
{
    std::filesystem::path folder{};
    Network network = Network::NONE;
    Feed::Pace pace = Feed::Pace::PCR;
    double speed = 1; ///< of the board's time
    std::vector<FeedSettings> feeds{};
    Messages messages = Messages::ON_STANDARD_ERROR;
    char** command = nullptr; ///< empty: none
};

/// Takes the options that lead `arguments`, and returns how many words these are. Raises CppUtil::InvalidArgumentError.
std::size_t readOptions(std::span<char* const> arguments, Settings& settings);

/// What the board has that another one may not have, as the options that ask for it.
std::vector<std::string> featuresOf(const Settings& settings);

/// Reads the program's arguments, its name first. Raises CppUtil::InvalidArgumentError, whose text says what is wrong.
Settings readArguments(int argc, char** argv);

} // namespace Osl::VirtualBoard
