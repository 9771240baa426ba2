#include <osl/linutils/file_lock.h>
#include <osl/linutils/raii_filedescriptors.h>
#include <osl/testing/temp_folder.h>
#include <osl/testing/test.h>

#include <fcntl.h>
#include <fstream>
#include <optional>
#include <unistd.h>

using namespace Osl::LinuxCppUtil;

namespace {

constexpr std::chrono::hours FOREVER{1};

/// One file that two holders have open.
class FileLockTest : public testing::Test
{
protected:
    FileLockTest()
    {
        m_Folder.put("/device", "");
        m_First = makeUniqueFD(m_Path, O_RDWR);
        m_Second = makeUniqueFD(m_Path, O_RDONLY);
    }
    std::string refusal(const LockPatience& patience = {})
    {
        return failureOf<LockError>([&] { FileLock(*m_Second, m_Path, patience); });
    }

    TempFolder m_Folder;
    const std::string m_Path = m_Folder.root() + "/device";
    UniqueFD m_First, m_Second;
};

} // namespace

TEST_F(FileLockTest, KeepsOthersOutAndTellsThemWhoHoldsIt)
{
    std::optional<FileLock> lock(std::in_place, *m_First, m_Path);
    std::string name; // the emulator's, where the test runs in one
    std::getline(std::ifstream("/proc/self/comm"), name);
    const std::string holder = std::to_string(::getpid()) + " (" + name + ")(";
    EXPECT_THAT(refusal(), StartsWith("IOErrorr: File lock Error: " + m_Path + " is in use by process " + holder));
    EXPECT_THAT(refusal({FOREVER, [] { return true; }}),
                StartsWith("IOErrorr: File lock Error: Stopped while " + m_Path + " was in use by process " + holder));
    lock.reset();
    EXPECT_EQ(refusal(), "nothing raised");
}

TEST_F(FileLockTest, IsHadAsSoonAsItsHolderIsGone)
{
    FileLock lock(*m_First, m_Path);
    const LockPatience untilReleased{FOREVER, [this] {
                                         m_First.reset(); // as the kernel does for a process that is killed
                                         return false;
                                     }};
    const FileLock moved(FileLock(*m_Second, m_Path, untilReleased));
    const UniqueFD third = makeUniqueFD(m_Path, O_RDONLY);
    EXPECT_THAT(failureOf<LockError>([&] { FileLock(*third, m_Path); }), HasSubstr("is in use"));
}
