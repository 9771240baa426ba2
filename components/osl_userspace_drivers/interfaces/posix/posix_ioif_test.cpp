#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/posix/posix_ioif.h>

#include <array>
#include <chrono>
#include <fcntl.h>
#include <unistd.h>

using namespace Osl;
using namespace std::chrono_literals;
using Posix::PosixIOIf;

namespace {

/// A pipe whose reading end stands for the stream device.
class PosixIOIfTest : public testing::Test
{
protected:
    PosixIOIfTest()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        m_Device = std::make_unique<PosixIOIf>(LinuxCppUtil::ownFD(ends[0]), true);
        m_Feed = LinuxCppUtil::ownFD(ends[1]);
    }
    void feed(std::string_view text) { EXPECT_EQ(::write(*m_Feed, text.data(), text.size()), ssize_t(text.size())); }

    std::unique_ptr<PosixIOIf> m_Device;
    LinuxCppUtil::UniqueFD m_Feed;
    std::array<char, 8> m_Buffer{};
};

} // namespace

TEST_F(PosixIOIfTest, TimedReadAnswersWhatIsThereOrNothing)
{
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 8, 0ms), 0U);
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 8, 5ms), 0U);
    feed("abc");
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 8, 999ms), 3U);
    EXPECT_EQ(std::string(m_Buffer.data(), 3), "abc");
    feed("abc");
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 2), 2U);
    m_Feed.reset();
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 1, 100ms), 1U);
    EXPECT_EQ(m_Device->read(m_Buffer.data(), 8, 100ms), 0U) << "at the end";
}

TEST_F(PosixIOIfTest, TimeOutsOfASecondAndMoreFailAsASelectError)
{
    feed("x");
    for (const auto timeout : {1000ms, 1500ms, 5'000'000ms})
        EXPECT_THAT(failureOf<CppUtil::IOError>([&] { m_Device->read(m_Buffer.data(), 8, timeout); }),
                    MatchesRegex("IOErrorr: Could not select file descriptor \\([0-9]+\\). Errno: \\(22 - Invalid "
                                 "argument\\)\\(.*\\)"));
}

TEST_F(PosixIOIfTest, WritingIsNotImplemented)
{
    EXPECT_THAT(failureOf<CppUtil::NotImplementedError>([&] { m_Device->write("x", 1); }),
                StartsWith("Not Implemented Error: not implemented("));
    EXPECT_THROW(m_Device->write("x", 1, 1ms), CppUtil::NotImplementedError);
}

TEST(PosixIOIfFailureTest, TextsNamePathDescriptorAndReason)
{
    using CppUtil::FileSystemError;
    EXPECT_THAT(
        failureOf<FileSystemError>([] { PosixIOIf("/nowhere/x", true); }),
        StartsWith("IOErrorr: Generic filesystem Error: Could not open (/nowhere/x). Errno: (2 - No such file or "
                   "directory)("));
    EXPECT_THAT(failureOf<FileSystemError>([] { PosixIOIf(LinuxCppUtil::UniqueFD(), true); }),
                StartsWith("IOErrorr: Generic filesystem Error: Non valid unique_ptr given("));
    EXPECT_THAT(failureOf<FileSystemError>([] { PosixIOIf(LinuxCppUtil::ownFD(-1), true); }),
                StartsWith("IOErrorr: Generic filesystem Error: Invalid file descriptor given("));
    PosixIOIf folder("/tmp", true);
    char byte = 0;
    EXPECT_THAT(failureOf<CppUtil::IOError>([&] { folder.read(&byte, 1); }),
                MatchesRegex("IOErrorr: Could not read from file descriptor \\([0-9]+\\). Errno: \\(21 - Is a "
                             "directory\\)\\(.*\\)"));
}
