#include "zeb_fpga_shell/mem_dump.h"

#include <gtest/gtest.h>

#include <sstream>

using Osl::Utils::dumpWords;

namespace {

template <class Word>
std::string dumpOf(uint32_t firstOffset, const std::vector<Word>& words)
{
    std::ostringstream out;
    dumpWords(out, firstOffset, words);
    return out.str();
}

} // namespace

TEST(MemDumpTest, LinesHoldSixteenBytesAndStartWithTheirWordOffset)
{
    EXPECT_EQ(dumpOf<uint32_t>(0x10, {0, 1, 0xDEADBEEF, 0xFFFFFFFF, 0x12345678}),
              "0x00000010:  0x00000000 0x00000001 0xdeadbeef 0xffffffff \n"
              "0x00000014:  0x12345678 \n");
    EXPECT_EQ(dumpOf<uint16_t>(0xFFFF, {0, 1, 2, 3, 4, 5, 6, 7, 0xABCD}),
              "0x0000ffff:  0x0000 0x0001 0x0002 0x0003 0x0004 0x0005 0x0006 0x0007 \n"
              "0x00010007:  0xabcd \n");
    EXPECT_EQ(dumpOf<uint8_t>(0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFF, 0x41}),
              "0x00000000:  0x00 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09 0x0a 0x0b 0x0c 0x0d 0x0e 0xff \n"
              "0x00000010:  0x41 \n");
}

TEST(MemDumpTest, AFullLastLineIsFollowedByAnEmptyOne)
{
    EXPECT_EQ(dumpOf<uint32_t>(0, {1, 2, 3, 4}), "0x00000000:  0x00000001 0x00000002 0x00000003 0x00000004 \n\n");
    EXPECT_EQ(dumpOf<uint16_t>(0, {}), "\n");
}
