#include <osl/cpputils/error.h>

namespace Osl {

Error::Error(const std::string& message, const char* file, int line) : m_Text(message + "(")
{
    if (file != nullptr)
        m_Text += std::string(file) + ":" + std::to_string(line) + ")";
}

} // namespace Osl
