#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/lindevmemaccessor.h>

using namespace Osl::Drivers;

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

TEST(LinDevMemAccessorTest, AccessesEndWhereTheMemoryDoesAndAreCheckedInWholeWith64Bits)
{
    SegmentMem mem(10);
    const auto refusal = [&](const auto& access) { return failureOf<DevMemError>([&] { access(); }); };
    EXPECT_EQ(mem.read32(1) + mem.read16(4) + mem.read8(9), 0U);
    EXPECT_TRUE(mem.readBlock16(5, 0).empty());
    EXPECT_NO_THROW(mem.writeBlock8(10, {}));
    EXPECT_THAT(refusal([&] { mem.read32(2); }), StartsWith(boundaryText("8", "4")));
    EXPECT_THAT(refusal([&] { mem.write16(5, 0); }), StartsWith(boundaryText("10", "2")));
    EXPECT_THAT(refusal([&] { mem.readBlock8(9, 2); }), StartsWith(boundaryText("9", "2")));
    EXPECT_THAT(refusal([&] { mem.readBlock32(3, 0); }), StartsWith(boundaryText("12", "0")));
    EXPECT_THAT(refusal([&] { mem.writeBlock32(1, {1, 2}); }), StartsWith(boundaryText("4", "8")));
    EXPECT_EQ(mem.read32(1), 0U) << "nothing of it is written";
    EXPECT_THAT(refusal([&] { mem.read32(0x40000000); }), StartsWith(boundaryText("4294967296", "4")));
    EXPECT_THAT(refusal([&] { mem.readBlock32(0, 0x40000000); }), StartsWith(boundaryText("0", "4294967296")));
    EXPECT_THAT(refusal([&] { mem.readBlock32(0xFFFFFFFF, 0xFFFFFFFF); }),
                StartsWith(boundaryText("17179869180", "17179869180")));
    mem.closed = true;
    EXPECT_EQ(failureOf<Osl::Error>([&] { mem.read32(100); }).find("closed("), 0U) << "before the boundary";
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
