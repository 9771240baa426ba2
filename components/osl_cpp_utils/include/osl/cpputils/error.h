#pragma once

#include <cstddef>
#include <exception>
#include <string>

/// Raises an error with the file and line of the raising statement; what follows the message goes behind them.
#define OSL_RAISE(Kind, message, ...) throw Kind((message), __FILE__, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

namespace Osl {

/// Root of all failures of the system. what() is the kind's prefixes, the message, then "(file:line)" of the raise.
class Error : public std::exception
{
public:
    /// A null `file` leaves the text cut after the "(".
    Error(const std::string& message, const char* file, int line);

    const char* what() const noexcept override { return m_Text.c_str(); }

private:
    std::string m_Text;
};

namespace CppUtil {

/// Text usable as a template argument.
template <std::size_t SIZE>
struct FixedText
{
    char chars[SIZE]{};

    constexpr FixedText(const char (&text)[SIZE])
    {
        for (std::size_t i = 0; i < SIZE; ++i)
            chars[i] = text[i];
    }
};

/// A kind of error: what its `Base` is, with `PREFIX` put before the message.
template <FixedText PREFIX, class Base = Error>
class PrefixedError : public Base
{
public:
    PrefixedError(const std::string& message, const char* file, int line) : Base(PREFIX.chars + message, file, line) {}
};

struct ParsingError : PrefixedError<"Generic parsing Error: ">
{
    using PrefixedError::PrefixedError;
};

/// Base of the input and output errors; its text is part of the tool's interface, doubled letter included.
struct IOError : PrefixedError<"IOErrorr: ">
{
    using PrefixedError::PrefixedError;
};

struct FileSystemError : PrefixedError<"Generic filesystem Error: ", IOError>
{
    using PrefixedError::PrefixedError;
};

struct InvalidArgumentError : PrefixedError<"Invalid Argument Error: ">
{
    using PrefixedError::PrefixedError;
};

struct OutOfRangeError : PrefixedError<"Out of Range Error: ">
{
    using PrefixedError::PrefixedError;
};

struct NotImplementedError : PrefixedError<"Not Implemented Error: ">
{
    using PrefixedError::PrefixedError;
};

} // namespace CppUtil
} // namespace Osl
