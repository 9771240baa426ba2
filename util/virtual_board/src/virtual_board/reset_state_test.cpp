#include "virtual_board/reset_state.h"

#include <gtest/gtest.h>

using namespace Osl;
using VirtualBoard::resetState;

namespace {

/// Words from `first` on hold `row` again and again, `count` words in all. Numbers here stand for themselves, not for
/// the layouts of the code: one error must not hide in both.
struct Stretch
{
    uint32_t first, count;
    std::vector<uint32_t> row;
};

std::vector<uint32_t> memoryOf(uint32_t words, const std::vector<Stretch>& stretches)
{
    std::vector<uint32_t> memory(words);
    for (const Stretch& stretch : stretches)
        for (uint32_t i = 0; i < stretch.count; ++i)
            memory[stretch.first + i] = stretch.row[i % stretch.row.size()];
    return memory;
}

} // namespace

TEST(ResetStateTest, PidBlockIsStuffedInBothBanksWithCountersAndControlZero)
{
    EXPECT_EQ(resetState({Drivers::Zeb::PIDLUT_DEVICE, Drivers::Zeb::TableBlock::PID}),
              memoryOf(0x8000, {{256, 256, {0x00000FFF}},
                                {8192, 8192, {0x001FFFFF, 0xFF000FFF}},
                                {16384, 8192, {0x001FFFFF, 0x00000000}}}));
}

TEST(ResetStateTest, InputOutputBlockIsStuffed)
{
    EXPECT_EQ(resetState({Drivers::Zeb::IPLUT_DEVICE, Drivers::Zeb::TableBlock::IO}),
              memoryOf(0x1000, {{128, 64, {0x000000FF}},
                                {256, 256, {0x000000FF}},
                                {1024, 1024, {0, 0, 0, 0x0000FFFF}},
                                {2048, 512, {0x00000000, 0x00FFFFFF}}}));
}

TEST(ResetStateTest, PacketPortRegistersAreZero)
{
    EXPECT_EQ(resetState({Drivers::Zeb::PKTIO_DEVICE, std::nullopt}), std::vector<uint32_t>(0x400));
}

TEST(ResetStateTest, ScramblerUsesItsFirstBankAndBothAreEmpty)
{
    EXPECT_EQ(resetState({VirtualBoard::SCM_DEVICE, std::nullopt}), memoryOf(0x1000, {{1024, 1024, {0xFFFFFFFF}}}));
}
