#include <osl/testing/failure_of.h>
#include <osl/userspace_drivers/interfaces/lindevmemaccessor.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Osl::Drivers;
using Osl::Testing::failureOf;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

class SegmentMem : public LinDevMemAccessor
{
public:
    explicit SegmentMem(uint32_t bytes) : m_Bytes(bytes), m_Words(bytes / 4 + 1) {}

    MemSegment getMemSegment() override { return {m_Bytes, m_Words.data()}; }
    void checkAccessible() override
    {
        if (closed)
            OSL_RAISE(Osl::Error, "closed");
    }
    using LinDevMemAccessor::checkAccess;

    bool closed = false;

private:
    uint32_t m_Bytes;
    std::vector<uint32_t> m_Words;
};

std::string boundaryText(const char* offset, const char* size)
{
    return std::string("Device memory Error: Cannot access device memory. Byte offset ") + offset + " and byte size " +
           size + " crosses memory segment boundary(";
}

} // namespace

TEST(LinDevMemAccessorTest, WidthsShareTheMemoryLittleEndian)
{
    SegmentMem mem(16);
    mem.write32(1, 0x11223344);
    EXPECT_EQ(mem.read32(1), 0x11223344U);
    EXPECT_THAT(mem.readBlock16(2, 2), ElementsAre(0x3344, 0x1122));
    EXPECT_THAT(mem.readBlock8(4, 4), ElementsAre(0x44, 0x33, 0x22, 0x11));
    mem.write16(3, 0xABCDEF01);
    mem.write8(4, 0x1FF);
    EXPECT_EQ(mem.read32(1), 0xEF0133FFU);
    EXPECT_EQ(mem.read16(3), 0xEF01U);
    EXPECT_EQ(mem.read8(4), 0xFFU);
    mem.writeBlock32(2, {1, 2});
    mem.writeBlock16(0, {3, 4});
    mem.writeBlock8(2, {5});
    EXPECT_THAT(mem.readBlock32(0, 4), ElementsAre(0x00050003U, 0xEF0133FFU, 1U, 2U));
}

TEST(LinDevMemAccessorTest, AccessesUpToTheEndAreInsideAndOneMoreIsNot)
{
    SegmentMem mem(4096);
    EXPECT_EQ(mem.read32(1023), 0U);
    EXPECT_EQ(mem.read16(2047), 0U);
    EXPECT_EQ(mem.read8(4095), 0U);
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.read32(1024); }), StartsWith(boundaryText("4096", "4")));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.write16(2048, 0); }), StartsWith(boundaryText("4096", "2")));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.readBlock8(4095, 2); }), StartsWith(boundaryText("4095", "2")));

    SegmentMem odd(10);
    EXPECT_THAT(failureOf<DevMemError>([&] { odd.readBlock8(10, 1); }), StartsWith(boundaryText("10", "1")));
    EXPECT_THAT(failureOf<DevMemError>([&] { odd.read32(2); }), StartsWith(boundaryText("8", "4")));
}

TEST(LinDevMemAccessorTest, EmptyBlocksPassUpToTheEnd)
{
    SegmentMem mem(8);
    EXPECT_TRUE(mem.readBlock16(4, 0).empty());
    EXPECT_NO_THROW(mem.writeBlock32(2, {}));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.readBlock32(3, 0); }), StartsWith(boundaryText("12", "0")));
}

TEST(LinDevMemAccessorTest, BlockOverTheEndWritesNothing)
{
    SegmentMem mem(4096);
    EXPECT_THAT(failureOf<DevMemError>([&] {
                    mem.writeBlock32(1020, {1, 2, 3, 4, 5});
                }),
                StartsWith(boundaryText("4080", "20")));
    EXPECT_THAT(mem.readBlock32(1020, 4), ElementsAre(0U, 0U, 0U, 0U));
}

TEST(LinDevMemAccessorTest, OffsetsAndCountsThatWrapIn32BitsAreRefusedWithTrueNumbersBeforeAnAllocation)
{
    SegmentMem mem(4096);
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.read32(0x40000000); }), StartsWith(boundaryText("4294967296", "4")));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.readBlock32(0, 0x40000000); }),
                StartsWith(boundaryText("0", "4294967296")));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.readBlock32(0xFFFFFFFF, 0xFFFFFFFF); }),
                StartsWith(boundaryText("17179869180", "17179869180")));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.readBlock8(0xFFFFFFFF, 2); }),
                StartsWith(boundaryText("4294967295", "2")));
}

TEST(LinDevMemAccessorTest, InaccessibleMemoryIsReportedBeforeTheBoundary)
{
    SegmentMem mem(4);
    mem.closed = true;
    EXPECT_THROW(
        {
            try {
                mem.read32(100);
            } catch (const DevMemError&) {
                FAIL() << "boundary first";
            }
        },
        Osl::Error);
}

TEST(LinDevMemAccessorTest, AlignmentIsCheckedForRawByteOffsets)
{
    SegmentMem mem(16);
    const LinDevMemAccessor::MemSegment segment = mem.getMemSegment();
    EXPECT_NO_THROW(mem.checkAccess(segment, 3, 1, MemAccessType::W8));
    EXPECT_NO_THROW(mem.checkAccess(segment, 2, 2, MemAccessType::R16));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.checkAccess(segment, 2, 4, MemAccessType::R32); }),
                StartsWith("Device memory Error: Cannot access device memory. Byte offset 2, byte size 4 and memory "
                           "access type \"R32\" causes invalid allignment.("));
    EXPECT_THAT(failureOf<DevMemError>([&] { mem.checkAccess(segment, 0, 1, static_cast<MemAccessType>(6)); }),
                StartsWith("Device memory Error: Cannot access device memory. Byte offset 0, byte size 1 and memory "
                           "access type \"undefined\" causes invalid allignment.("));
}
