#include <osl/cpputils/error.h>
#include <osl/linutils/interruptible.h>
#include <osl/linutils/raii_filedescriptors.h>
#include <osl/linutils/whole_file.h>
#include <osl/testing/temp_folder.h>
#include <osl/testing/test.h>

#include <atomic>
#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace Osl::LinuxCppUtil;
using Osl::CppUtil::FileSystemError;
namespace fs = std::filesystem;

namespace {

const std::vector<uint8_t> BYTES{'n', 'e', 'w', 0, 0xFF};
const std::string TEXT(BYTES.begin(), BYTES.end());

class WholeFileTest : public testing::Test
{
protected:
    std::string path(const char* name) const { return m_Folder.root() + "/" + name; }
    std::string put(const char* name, const std::string& text) const
    {
        m_Folder.put(std::string("/") + name, text);
        return path(name);
    }
    std::string content(const char* name) const { return m_Folder.text(std::string("/") + name); }
    std::ptrdiff_t files() const
    {
        return std::distance(fs::directory_iterator(m_Folder.root()), fs::directory_iterator());
    }
    static std::string writeFailure(const std::string& file)
    {
        return failureOf<FileSystemError>([&] { writeWholeFile(file, BYTES); });
    }
    static std::string readFailure(const std::string& file)
    {
        return failureOf<FileSystemError>([&] { (void)readWholeFile(file, 100); });
    }

    TempFolder m_Folder;
};

} // namespace

TEST_F(WholeFileTest, WhatIsWrittenIsReadBackUpToTheLimit)
{
    writeWholeFile(path("new"), BYTES);
    EXPECT_EQ(readWholeFile(path("new"), 100), BYTES);
    EXPECT_EQ(readWholeFile(path("new"), 5), BYTES);
    EXPECT_EQ(readWholeFile(path("new"), 2).size(), 2U);
    EXPECT_TRUE(readWholeFile(put("empty", ""), 100).empty());
    EXPECT_EQ(files(), 2);
}

TEST_F(WholeFileTest, AnExistingFileKeepsItsModeAndALinkItsTarget)
{
    fs::permissions(put("old", "longer than what comes"), fs::perms(0640));
    fs::create_symlink("old", path("link"));
    fs::create_symlink("link", path("link_to_link"));
    writeWholeFile(path("link_to_link"), BYTES);
    EXPECT_EQ(content("old"), TEXT);
    EXPECT_EQ(fs::status(path("old")).permissions(), fs::perms(0640));
    EXPECT_TRUE(fs::is_symlink(path("link")));

    fs::create_symlink("made", path("dangling"));
    writeWholeFile(path("dangling"), BYTES);
    EXPECT_EQ(content("made"), TEXT);
    EXPECT_EQ(files(), 5);
}

TEST_F(WholeFileTest, ANewFileGetsTheUsualMode)
{
    const mode_t before = ::umask(027);
    writeWholeFile(path("new"), BYTES);
    ::umask(before);
    EXPECT_EQ(fs::status(path("new")).permissions(), fs::perms(0640));
}

TEST_F(WholeFileTest, PathsThatLeadNowhereAreNamedWithTheReason)
{
    EXPECT_THAT(writeFailure(""),
                StartsWith("IOErrorr: Generic filesystem Error: Unable to open writable file \"\": No such file or "
                           "directory("));
    EXPECT_THAT(writeFailure(put("file", "") + "/below"), HasSubstr("Not a directory("));
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));
    EXPECT_THAT(writeFailure(path("a")), HasSubstr("Too many levels of symbolic links("));
}

TEST_F(WholeFileTest, PipesAreReadAndWritten)
{
    const std::string pipe = path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const UniqueFD otherEnd = ownFD(::open(pipe.c_str(), O_RDWR));
    writeWholeFile(pipe, BYTES);
    std::string received(BYTES.size(), ' ');
    ASSERT_EQ(::read(*otherEnd, received.data(), received.size()), 5);
    EXPECT_EQ(received, TEXT);
    ASSERT_EQ(::write(*otherEnd, BYTES.data(), BYTES.size()), 5);
    EXPECT_EQ(readWholeFile(pipe, BYTES.size()), BYTES);
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(WholeFileTest, WhatCannotBeReplacedIsWrittenInItsPlace)
{
    fs::create_hard_link(put("old", "longer than what comes"), path("other"));
    writeWholeFile(path("old"), BYTES);
    EXPECT_EQ(content("other"), TEXT);

    const std::string longest(NAME_MAX, 'x'); // leaves no room for a name beside it
    put(longest.c_str(), "longer than what comes");
    writeWholeFile(path(longest.c_str()), BYTES);
    EXPECT_EQ(content(longest.c_str()), TEXT);
    EXPECT_EQ(files(), 3);
}

TEST_F(WholeFileTest, WhatIsOpenAlreadyIsWrittenBehindWhatStandsThere)
{
    const UniqueFD open = ownFD(::open(put("open", "").c_str(), O_WRONLY));
    ASSERT_EQ(::write(*open, "head ", 5), 5);
    writeWholeFile("/dev/fd/" + std::to_string(*open), BYTES);
    ASSERT_EQ(::write(*open, " tail", 5), 5);
    EXPECT_EQ(content("open"), "head " + TEXT + " tail");
}

TEST_F(WholeFileTest, WhatAKilledProcessLeftBehindIsRemoved)
{
    put(".old.osl_tmp", "whole, but never put in its place");
    put("old", "old");
    writeWholeFile(path("old"), BYTES);
    EXPECT_EQ(content("old"), TEXT);
    EXPECT_EQ(files(), 1);
}

/// Each wait ends although nobody comes, and says what was not done.
TEST_F(WholeFileTest, TheUserEndsAWait)
{
    const std::string pipe = path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::atomic<bool> stop = true;
    Interruptible::stopOn(&stop);
    const std::string reading = readFailure(pipe);
    const std::string writing = writeFailure(pipe);
    const UniqueFD silent = ownFD(::open(pipe.c_str(), O_RDWR | O_NONBLOCK));
    const std::string full(1 << 20, 'x');
    ASSERT_GT(::write(*silent, full.data(), full.size()), 0);
    const std::string unread = writeFailure(pipe);
    writeWholeFile(path("file"), BYTES); // nothing to wait for
    Interruptible::stopOn(nullptr);
    EXPECT_THAT(reading, HasSubstr("Unable to read file \"" + pipe + "\": Operation canceled("));
    EXPECT_THAT(writing, HasSubstr("Unable to open writable file \"" + pipe + "\": Operation canceled("));
    EXPECT_THAT(unread, HasSubstr("Unable to write file \"" + pipe + "\": Operation canceled("));
    EXPECT_EQ(content("file"), TEXT);
}
