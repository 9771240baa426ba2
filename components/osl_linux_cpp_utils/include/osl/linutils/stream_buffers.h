#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <streambuf>
#include <string>
#include <vector>

namespace Osl::LinuxCppUtil {

/// Lets a stream write to an open descriptor with waits that the user can end (interruptible.h). Before a terminal each
/// line is shown when it is complete. After the first failure nothing is written any more and the stream is bad.
class OutputBuffer : public std::streambuf
{
public:
    /// With a capacity of 0 nothing is kept back. The descriptor must stay open.
    OutputBuffer(int descriptor, std::size_t capacity);
    ~OutputBuffer() override;
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    /// The errno of the failure, ECANCELED when the user ended a wait; 0 when there was none.
    int error() const { return m_Error; }

protected:
    int_type overflow(int_type ch) override;
    std::streamsize xsputn(const char* text, std::streamsize length) override;
    int sync() override;

private:
    bool put(const char* text, std::size_t length);

    int m_Descriptor;
    bool m_ByLines;
    std::string m_Kept;
    std::size_t m_Capacity;
    int m_Error = 0;
};

/// ": " and why an OutputBuffer of the stream has failed; empty when that is not known.
std::string failureReason(const std::ostream& out);

/// Lets a stream read from an open descriptor, with waits that the user can end. Raises CppUtil::IOError, saying why,
/// when a read fails or the user ends the wait: a stream passes that on when its exceptions() hold badbit, and becomes
/// bad in any case.
class InputBuffer : public std::streambuf
{
public:
    /// `name` is what errors call the input. `goOn`, asked when the user ends a wait, answers whether to wait all the
    /// same; empty: no. The descriptor must stay open.
    InputBuffer(int descriptor, std::string name, std::function<bool()> goOn = {});

protected:
    int_type underflow() override;

private:
    int m_Descriptor;
    std::string m_Name;
    std::function<bool()> m_GoOn;
    std::vector<char> m_Buffer;
};

} // namespace Osl::LinuxCppUtil
