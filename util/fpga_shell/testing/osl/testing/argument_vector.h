#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Osl::Testing {

/// An argument vector as main gets it: the program's name, then `words`.
class ArgumentVector
{
public:
    explicit ArgumentVector(std::vector<std::string> words) : m_Words(std::move(words))
    {
        m_Words.insert(m_Words.begin(), "zeb_fpga_shell");
        for (std::string& word : m_Words)
            m_Pointers.push_back(word.data());
    }
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;

    int argc() const { return static_cast<int>(m_Pointers.size()); }
    char** argv() { return m_Pointers.data(); }

private:
    std::vector<std::string> m_Words;
    std::vector<char*> m_Pointers;
};

} // namespace Osl::Testing
