#include "virtual_board/whole_file.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace Osl::VirtualBoard {

std::vector<uint32_t> readWords(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), {});
    std::vector<uint32_t> words(bytes.size() / sizeof(uint32_t));
    if (!words.empty())
        std::memcpy(words.data(), bytes.data(), words.size() * sizeof words[0]);
    return words;
}

bool replaceFile(const std::filesystem::path& file, std::string_view content)
{
    const std::filesystem::path draft = file.string() + ".new";
    std::ofstream stream(draft, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), std::ssize(content));
    stream.close();
    return stream && std::rename(draft.c_str(), file.c_str()) == 0;
}

} // namespace Osl::VirtualBoard
