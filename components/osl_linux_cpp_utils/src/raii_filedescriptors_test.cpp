#include <osl/linutils/raii_filedescriptors.h>
#include <osl/testing/test.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Osl::LinuxCppUtil;

namespace {

std::string openMessage(const std::string& path, int flags)
{
    return failureOf<Osl::CppUtil::FileSystemError>([&] { makeUniqueFD(path, flags); });
}

} // namespace

TEST(UniqueFDTest, ClosesWithItsOwnerAndAFailureNamesPathAndTheCallersFlags)
{
    UniqueFD fd = makeUniqueFD("/dev/null", O_RDWR);
    const int number = *fd;
    EXPECT_NE(::fcntl(number, F_GETFD) & FD_CLOEXEC, 0);
    fd.reset();
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
    EXPECT_THAT(openMessage("/nowhere/x", O_RDWR),
                StartsWith("IOErrorr: Generic filesystem Error: Could not open file: \"/nowhere/x\" with flags: 2("));
}

TEST(UniqueFDDeathTest, DescriptorZeroIsAFailureAndIsNotLeaked)
{
    EXPECT_EXIT(
        {
            ::close(0);
            const bool refused =
                openMessage("/dev/null", O_RDONLY).find("\"/dev/null\" with flags: 0") != std::string::npos;
            std::exit(refused && ::fcntl(0, F_GETFD) == -1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
