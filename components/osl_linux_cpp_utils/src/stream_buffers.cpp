#include <osl/cpputils/error.h>
#include <osl/linutils/interruptible.h>
#include <osl/linutils/stream_buffers.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <span>
#include <unistd.h>
#include <utility>

namespace Osl::LinuxCppUtil {

OutputBuffer::OutputBuffer(int descriptor, std::size_t capacity)
    : m_Descriptor(descriptor),
      m_ByLines(::isatty(descriptor) == 1),
      m_Capacity(capacity)
{
}

OutputBuffer::~OutputBuffer() { OutputBuffer::sync(); }

int OutputBuffer::sync()
{
    const auto* const bytes = reinterpret_cast<const uint8_t*>(m_Kept.data());
    if (m_Error == 0 && !Interruptible::writeAll(m_Descriptor, std::span(bytes, m_Kept.size())))
        m_Error = errno;
    m_Kept.clear();
    return m_Error == 0 ? 0 : -1;
}

bool OutputBuffer::put(const char* text, std::size_t length)
{
    if (m_Error != 0)
        return false;
    m_Kept.append(text, length);
    const bool lineEnds = m_ByLines && std::memchr(text, '\n', length) != nullptr;
    return (m_Kept.size() < m_Capacity && !lineEnds) || sync() == 0;
}

OutputBuffer::int_type OutputBuffer::overflow(int_type ch)
{
    if (traits_type::eq_int_type(ch, traits_type::eof()))
        return sync() == 0 ? traits_type::not_eof(ch) : traits_type::eof();
    const char character = traits_type::to_char_type(ch);
    return put(&character, 1) ? ch : traits_type::eof();
}

std::streamsize OutputBuffer::xsputn(const char* text, std::streamsize length)
{
    return put(text, static_cast<std::size_t>(length)) ? length : 0;
}

std::string failureReason(const std::ostream& out)
{
    const auto* const buffer = dynamic_cast<const OutputBuffer*>(out.rdbuf());
    return buffer == nullptr || buffer->error() == 0 ? "" : fmt::format(": {}", std::strerror(buffer->error()));
}

InputBuffer::InputBuffer(int descriptor, std::string name, std::function<bool()> goOn)
    : m_Descriptor(descriptor),
      m_Name(std::move(name)),
      m_GoOn(std::move(goOn))
{
}

InputBuffer::int_type InputBuffer::underflow()
{
    constexpr std::size_t CAPACITY = 4096;
    m_Buffer.resize(CAPACITY);
    ssize_t count = -1;
    do
        count = Interruptible::read(m_Descriptor, m_Buffer.data(), m_Buffer.size());
    while (count == -1 && errno == ECANCELED && m_GoOn && m_GoOn());
    if (count == -1)
        OSL_RAISE(CppUtil::IOError, fmt::format("Could not read {}: {}", m_Name, std::strerror(errno)));
    setg(m_Buffer.data(), m_Buffer.data(), m_Buffer.data() + count);
    return count == 0 ? traits_type::eof() : traits_type::to_int_type(m_Buffer.front());
}

} // namespace Osl::LinuxCppUtil
