#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string_view>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;

namespace {

using Words = std::vector<uint32_t>;

constexpr uint32_t PID_WORDS = 0x20000 / 4;
constexpr uint32_t IO_WORDS = 0x4000 / 4;

/// Both blocks, every word different; control words as given.
struct Board
{
    explicit Board(uint32_t seed, uint32_t pidControl = 0, uint32_t ioControl = 0) : pid(PID_WORDS), io(IO_WORDS)
    {
        std::mt19937 random(seed);
        std::generate(pid.words.begin(), pid.words.end(), std::ref(random));
        std::generate(io.words.begin(), io.words.end(), std::ref(random));
        pid.words[129] = pidControl;
        io.words[0] = ioControl;
    }

    FakeMem pid;
    FakeMem io;
};

Words part(const Words& words, uint32_t offset, uint32_t count)
{
    return {words.begin() + offset, words.begin() + offset + count};
}

std::vector<uint8_t> imageOf(Board board) { return toBytes(exportTables(board.pid, board.io)); }

/// Whether an import fails because of the image's `reason`.
bool isRefused(Board& board, std::span<const uint8_t> image, const char* reason)
{
    try {
        importTables(board.pid, board.io, image);
        return false;
    } catch (const InvalidArgumentError& error) {
        return std::string_view(error.what())
            .starts_with(
                fmt::format("Invalid Argument Error: Invalid data (incorrect {}) given to import tables(", reason));
    }
}

/// What the log says of each operation, without the values of the long blocks.
std::vector<std::string> summaryOf(const FakeMem& mem)
{
    std::vector<std::string> lines;
    for (const FakeMem::Operation& operation : mem.log)
        lines.push_back(fmt::format("{} {} x{}", Osl::Drivers::toString(operation.type), operation.offset,
                                    operation.values.size()));
    return lines;
}

} // namespace

TEST(FpgaDiagTest, CrcMatchesItsPublishedCheckValueAndItsDefinitionAtEveryLength)
{
    const std::string_view digits = "123456789";
    EXPECT_EQ(crc32Mpeg2({reinterpret_cast<const uint8_t*>(digits.data()), digits.size()}), 0x0376E6E7U);

    std::vector<uint8_t> bytes;
    for (uint32_t crc = 0xFFFFFFFF; bytes.size() < 100;) {
        EXPECT_EQ(crc32Mpeg2(bytes), crc) << bytes.size();
        bytes.push_back(static_cast<uint8_t>(0x9E * bytes.size() + 0x37));
        crc ^= uint32_t{bytes.back()} << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc >> 31) != 0 ? 0x04C11DB7U : 0U);
    }
}

TEST(FpgaDiagTest, ImageHoldsTheTablesInOrderAndTheActivePidLut)
{
    for (const uint32_t control : {0xFEU, 0xFFU}) {
        Board board(1, control);
        const Words image = exportTables(board.pid, board.io);
        ASSERT_EQ(image.size(), 14401U);
        EXPECT_THAT(summaryOf(board.pid),
                    ElementsAre("R32 256 x256", "R32 129 x1", control % 2 == 0 ? "R32 8192 x4096" : "R32 12288 x4096",
                                "R32 16384 x8192"));
        EXPECT_THAT(summaryOf(board.io),
                    ElementsAre("R32 128 x64", "R32 0 x1", "R32 2048 x512", "R32 256 x256", "R32 1024 x1024"));
    }
}

TEST(FpgaDiagTest, ImportRestoresEveryTableAndSwitchesBothBanksLast)
{
    for (const uint32_t control : {0xFEU, 0xFFU}) {
        Board source(1, 1);
        Board target(2, control, control);
        const Words filters = part(target.pid.words, 512, 256);
        importTables(target.pid, target.io, imageOf(source));
        const char* const spareBank = control % 2 == 0 ? "W32 12288 x4096" : "W32 8192 x4096";
        EXPECT_THAT(summaryOf(target.pid), ElementsAre("W32 256 x256", "R32 129 x1", spareBank, "R32 129 x1",
                                                       "W32 129 x1", "W32 16384 x8192"));
        EXPECT_THAT(summaryOf(target.io), ElementsAre("W32 128 x64", "R32 0 x1", "W32 2048 x512", "R32 0 x1",
                                                      "W32 0 x1", "W32 256 x256", "W32 1024 x1024"));
        EXPECT_EQ(target.pid.words[129], control ^ 1);
        EXPECT_EQ(target.io.words[0], control ^ 1);
        EXPECT_EQ(imageOf(target), imageOf(source));
        EXPECT_EQ(part(target.pid.words, 512, 256), filters);
    }
}

TEST(FpgaDiagTest, AFlippedBitAnywhereIsRefusedWithNothingWritten)
{
    std::vector<uint8_t> bytes = imageOf(Board(1));
    Board board(2);
    const std::size_t bits = bytes.size() * 8;
    for (std::size_t bit = 0; bit < bits; bit += 997) { // a prime: every bit of a word, in every table
        bytes[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        ASSERT_TRUE(isRefused(board, bytes, "CRC")) << "bit " << bit;
        bytes[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
    }
    EXPECT_EQ(board.pid.accesses + board.io.accesses, 0U);
}
