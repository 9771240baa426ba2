#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>
#include <osl/ts_streaming/inputs/file_reader.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Osl;
using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

using AtEnd = FileReader::AtEnd;

LinuxCppUtil::UniqueFD openForReading(const std::string& path) { return LinuxCppUtil::makeUniqueFD(path, O_RDONLY); }

/// A file of packets that are marked 0, 1, 2 ….
class FileReaderTest : public testing::Test
{
protected:
    void fill(uint8_t packets, std::size_t extraBytes = 0)
    {
        const auto file = LinuxCppUtil::makeUniqueFD(m_File.path(), O_WRONLY | O_TRUNC);
        for (uint8_t i = 0; i < packets; ++i)
            EXPECT_EQ(::write(*file, Packet().mark(i).bytes.data(), TS_SIZE), ssize_t(TS_SIZE));
        EXPECT_EQ(::write(*file, Packet().bytes.data(), extraBytes), ssize_t(extraBytes));
    }
    FileReader reader(AtEnd atEnd = AtEnd::STOP) { return {openForReading(m_File.path()), "file", atEnd}; }

    /// Marks of the packets of the next buffer of four packets.
    std::vector<int> readMarks(FileReader& reader)
    {
        std::vector<int> marks;
        const auto view = reader.read(m_Buffer);
        EXPECT_EQ(view.data(), m_Buffer.data());
        for (std::size_t at = TS_SIZE - 1; at < view.size(); at += TS_SIZE)
            marks.push_back(view[at]);
        EXPECT_EQ(view.size() % TS_SIZE, 0U);
        return marks;
    }
    uint32_t reasonOf(FileReader& reader)
    {
        try {
            reader.read(m_Buffer);
        } catch (const ReadException& error) {
            m_Text = error.what();
            return error.reason();
        }
        return 99;
    }

    TempFile m_File;
    std::vector<uint8_t> m_Buffer = std::vector<uint8_t>(4 * TS_SIZE);
    std::string m_Text;
};

} // namespace

TEST_F(FileReaderTest, ReadsAFileToItsEndAndDropsACutTail)
{
    fill(10, 100);
    FileReader file = reader();
    EXPECT_THAT(readMarks(file), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(readMarks(file), ElementsAre(4, 5, 6, 7));
    EXPECT_THAT(readMarks(file), ElementsAre(8, 9));
    EXPECT_EQ(reasonOf(file), 0U);
    EXPECT_EQ(reasonOf(file), 0U);
    EXPECT_THAT(m_Text, StartsWith("TS streaming read error: File contains no more data("));
    EXPECT_EQ(file.totalBytes(), 10 * TS_SIZE);
    EXPECT_EQ(file.droppedBytes(), 100U);
}

TEST_F(FileReaderTest, LoopsWithoutASeamPastTheCutTail)
{
    fill(5, 100);
    FileReader file = reader(AtEnd::START_AGAIN);
    EXPECT_THAT(readMarks(file), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(readMarks(file), ElementsAre(4, 0, 1, 2));
    fill(6);
    EXPECT_THAT(readMarks(file), ElementsAre(3, 4, 0, 1)) << "what is appended does not change the loop";
    EXPECT_EQ(file.droppedBytes(), 100U);
}

TEST_F(FileReaderTest, AFileThatShrinksIsNoLongerAccessibleAfterWhatIsLeft)
{
    for (const AtEnd atEnd : {AtEnd::STOP, AtEnd::START_AGAIN}) {
        fill(10);
        FileReader file = reader(atEnd);
        readMarks(file);
        fill(6, 20);
        EXPECT_THAT(readMarks(file), ElementsAre(4, 5));
        EXPECT_EQ(reasonOf(file), 3U);
        EXPECT_THAT(m_Text, StartsWith("TS streaming read error: File no longer accesible("));
        EXPECT_TRUE(file.failed());
        EXPECT_THAT(file.failure(), HasSubstr("had 1880 bytes when it was opened"));
        fill(10);
        EXPECT_THAT(readMarks(file), ElementsAre(6, 7, 8, 9)) << "goes on where it failed, amid a packet";
    }
}

TEST_F(FileReaderTest, FailedReadNamesErrno)
{
    fill(1);
    FileReader file(LinuxCppUtil::makeUniqueFD(m_File.path(), O_WRONLY), "file", AtEnd::STOP);
    EXPECT_EQ(reasonOf(file), 3U);
    EXPECT_EQ(file.failure(), "reading file at byte 0 failed: Bad file descriptor (errno 9)");
}

TEST_F(FileReaderTest, APipeHandsOnWhatHasComeAndEndsWhenStopped)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const auto feed = LinuxCppUtil::ownFD(ends[1]);
    const auto spare = LinuxCppUtil::ownFD(::dup(ends[0]));
    EXPECT_THAT(failureOf<CppUtil::InvalidArgumentError>(
                    [&] { FileReader(LinuxCppUtil::ownFD(::dup(*spare)), "pipe", AtEnd::START_AGAIN); }),
                HasSubstr("pipe cannot be sent in a loop"));

    bool stopped = false;
    FileReader file(LinuxCppUtil::ownFD(ends[0]), "pipe", AtEnd::STOP, [&] { return stopped; });
    const auto packets = join({Packet().mark(0), Packet().mark(1), Packet().mark(2)});
    const auto feedBytes = [&](std::size_t from, std::size_t to) {
        ASSERT_EQ(::write(*feed, &packets[from], to - from), ssize_t(to - from));
    };
    feedBytes(0, TS_SIZE + 8);
    EXPECT_THAT(readMarks(file), ElementsAre(0)) << "does not wait for the buffer to fill";
    feedBytes(TS_SIZE + 8, 3 * TS_SIZE - 8);
    EXPECT_THAT(readMarks(file), ElementsAre(1)) << "goes on where the last buffer was cut";
    stopped = true;
    EXPECT_EQ(reasonOf(file), 0U);
    EXPECT_EQ(file.droppedBytes(), TS_SIZE - 8);
    EXPECT_EQ(file.totalBytes(), 2 * TS_SIZE);
}
