#include "virtual_board/board_folder.h"
#include "virtual_board/reset_state.h"

#include <osl/testing/failure_of.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <stdlib.h>

using namespace Osl;
using Drivers::Zeb::MappedDevice;
using Osl::Testing::failureOf;
using testing::HasSubstr;
using VirtualBoard::BoardError;
using VirtualBoard::makeBoard;
namespace fs = std::filesystem;

namespace {

class BoardFolderTest : public testing::Test
{
public:
    BoardFolderTest()
    {
        char name[] = "/tmp/virtual_board_test.XXXXXX";
        m_Root = fs::path(::mkdtemp(name)) / "new" / "board";
    }
    ~BoardFolderTest() override { fs::remove_all(m_Root.parent_path().parent_path()); }

protected:
    fs::path file(const MappedDevice& device) const { return m_Root / fs::path(device.path).relative_path(); }

    static std::vector<uint32_t> words(const fs::path& file)
    {
        std::vector<uint32_t> words(static_cast<std::size_t>(fs::file_size(file)) / sizeof(uint32_t));
        std::ifstream(file, std::ios::binary)
            .read(reinterpret_cast<char*>(words.data()), static_cast<std::streamsize>(words.size() * sizeof words[0]));
        return words;
    }

    fs::path m_Root;
};

} // namespace

TEST_F(BoardFolderTest, MakesTheDevicesInTheirResetStateAndNothingElse)
{
    makeBoard(m_Root);
    for (const VirtualBoard::MemoryDevice& memory : VirtualBoard::MEMORY_DEVICES) {
        const MappedDevice& device = memory.device;
        EXPECT_EQ(fs::file_size(file(device)), device.mapSize) << device.path;
        EXPECT_EQ(words(file(device)), VirtualBoard::resetState(memory)) << device.path;
    }
    for (const char* stream : {"rx", "tx0", "tx1", "tx2", "tx3"}) {
        EXPECT_TRUE(fs::is_fifo(m_Root / "dev" / (std::string("zebtsif_pktio_") + stream))) << stream;
        EXPECT_TRUE(fs::exists(m_Root / "sys/class/zebtsif" / (std::string("zebtsif_pktio_") + stream))) << stream;
    }
    EXPECT_TRUE(fs::is_empty(m_Root / "dev/zebtsif_complaints"));
    EXPECT_TRUE(fs::is_empty(m_Root / "dev/zebtsif_outputs"));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_Root / "dev"), {}), std::ssize(VirtualBoard::MEMORY_DEVICES) + 7);
    std::size_t attributes = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_Root / "sys/class"))
        attributes += entry.is_regular_file();
    EXPECT_EQ(attributes, VirtualBoard::attributeFiles().size() + 9); // and the counters of the streams
}

TEST_F(BoardFolderTest, KeepsWhatIsThereAndMakesWhatIsMissing)
{
    makeBoard(m_Root);
    const fs::path kept = file(Drivers::Zeb::PIDLUT_DEVICE);
    const uint32_t mark = 0x12345678;
    std::fstream(kept, std::ios::binary | std::ios::in | std::ios::out)
        .write(reinterpret_cast<const char*>(&mark), sizeof mark);
    fs::remove(file(Drivers::Zeb::IPLUT_DEVICE));
    const fs::path attribute = m_Root / "sys/class/zebscm/scm/barsize";
    std::ofstream(attribute) << "0x2000";
    fs::remove(m_Root / "sys/class/net/sfp/mcnotlut");
    makeBoard(m_Root);
    EXPECT_EQ(words(kept)[0], mark);
    EXPECT_EQ(fs::file_size(attribute), 6U);
    EXPECT_EQ(words(m_Root / "sys/class/net/sfp/mcnotlut"), std::vector<uint32_t>(64));
    EXPECT_EQ(words(file(Drivers::Zeb::IPLUT_DEVICE)), VirtualBoard::resetState(VirtualBoard::MEMORY_DEVICES[1]));
}

TEST_F(BoardFolderTest, RefusesWhatCannotBeTheDevice)
{
    makeBoard(m_Root);
    fs::resize_file(file(Drivers::Zeb::IPLUT_DEVICE), 5);
    EXPECT_THAT(failureOf<BoardError>([&] { makeBoard(m_Root); }),
                HasSubstr(file(Drivers::Zeb::IPLUT_DEVICE).string() + " has 5 bytes, the device has 16384"));
    fs::remove(file(Drivers::Zeb::IPLUT_DEVICE));
    fs::create_directory(file(Drivers::Zeb::IPLUT_DEVICE));
    EXPECT_THAT(failureOf<BoardError>([&] { makeBoard(m_Root); }), HasSubstr("is not a regular file"));
    fs::remove(file(Drivers::Zeb::IPLUT_DEVICE));
    const fs::path attribute = m_Root / "sys/class/zebscm/scm/barsize";
    fs::remove(attribute);
    fs::create_symlink("/dev/null", attribute);
    EXPECT_THAT(failureOf<BoardError>([&] { makeBoard(m_Root); }),
                HasSubstr(attribute.string() + " is not a regular file; it cannot be an attribute"));
    EXPECT_THAT(failureOf<BoardError>([] { makeBoard("/dev/null"); }),
                HasSubstr("Cannot make folder /dev/null/dev: Not a directory"));
}
