#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/zeb/ts/packetiodriver.h>

#include <array>
#include <numeric>

using namespace Osl::Drivers;
using Zeb::PktIODriver;

namespace {

using Record = std::array<uint32_t, 48>;

Record countingRecord()
{
    Record record{};
    std::iota(record.begin(), record.end(), 0x47000000U);
    return record;
}

/// The port's registers, and a pause that counts and may change them.
class PktIODriverTest : public testing::Test
{
protected:
    FakeMem::Operation at(std::size_t index) const { return m_Mem->log.at(index); }

    std::shared_ptr<FakeMem> m_Mem = std::make_shared<FakeMem>(0x400);
    int m_Pauses = 0;
    std::function<void()> m_OnPause = [] {};
    PktIODriver m_Driver{m_Mem, [this] {
                             ++m_Pauses;
                             m_OnPause();
                         }};
};

/// Delivers fixed amounts.
struct FakeStream : IIOIf
{
    explicit FakeStream(std::size_t amount) : m_Amount(amount) {}
    std::size_t read(void*, std::size_t, std::chrono::milliseconds) override { return 0; }
    std::size_t read(void*, std::size_t length) override { return length == 192 ? m_Amount : 0; }
    std::size_t write(const void*, std::size_t, std::chrono::milliseconds) override { return 0; }
    std::size_t write(const void*, std::size_t) override { return 0; }

    std::size_t m_Amount;
};

} // namespace

TEST_F(PktIODriverTest, ReceivesHeaderAndDataThenReleasesThePacketKeepingOtherControlBits)
{
    const Record sent = countingRecord();
    m_Mem->words[16] = 5;
    m_Mem->words[17] = 0x80000010;
    m_Mem->words[20] = sent[0];
    std::copy(sent.begin() + 1, sent.end(), m_Mem->words.begin() + 64);

    Record record{};
    ASSERT_TRUE(m_Driver.readPacket(record.data(), 0));
    EXPECT_EQ(record, sent);
    EXPECT_EQ(m_Mem->words[17], 0x80000011U);
    ASSERT_EQ(m_Mem->log.size(), 51U);
    EXPECT_EQ(at(0).offset, 16U);
    EXPECT_EQ(at(1).offset, 20U);
    EXPECT_EQ(at(2).offset, 64U);
    EXPECT_EQ(at(48).offset, 110U);
    EXPECT_EQ(at(50), (FakeMem::Operation{MemAccessType::W32, 17, {0x80000011}}));
}

TEST_F(PktIODriverTest, GivesUpAfterAsManyPausesAsAllowed)
{
    Record record{};
    const uint64_t timeout = 5;
    EXPECT_FALSE(m_Driver.readPacket(record.data(), 0));
    EXPECT_EQ(m_Pauses, 0);
    EXPECT_EQ(m_Mem->log.size(), 1U);
    EXPECT_FALSE(m_Driver.readPacket(record.data(), timeout));
    EXPECT_EQ(m_Pauses, 5);
    m_OnPause = [this] { m_Mem->words[16] = m_Pauses == 8; };
    EXPECT_TRUE(m_Driver.readPacket(record.data(), timeout));
    EXPECT_EQ(m_Pauses, 8);
}

TEST_F(PktIODriverTest, SendsWhenThePortIsFreeAndPulsesItsReset)
{
    const Record record = countingRecord();
    m_OnPause = [this] { m_Mem->words[32] = m_Pauses == 3; };
    m_Driver.writePacket(record.data());
    EXPECT_EQ(m_Pauses, 3);
    EXPECT_EQ(at(4), (FakeMem::Operation{MemAccessType::W32, 36, {record[0]}}));
    EXPECT_EQ(at(5), (FakeMem::Operation{MemAccessType::W32, 128, {record[1]}}));
    EXPECT_EQ(at(51), (FakeMem::Operation{MemAccessType::W32, 174, {record[47]}}));
    EXPECT_EQ(at(52), (FakeMem::Operation{MemAccessType::W32, 33, {1}}));

    m_Mem->log.clear();
    m_Driver.writePacket(record.data(), 0xC0000007);
    EXPECT_EQ(at(1).values.front(), 0xC0000007U);
    EXPECT_EQ(at(2).values.front(), record[0]);
    EXPECT_EQ(at(48).values.front(), record[46]);

    m_Driver.reset();
    EXPECT_EQ(at(50), (FakeMem::Operation{MemAccessType::W32, 258, {1}}));
    EXPECT_EQ(at(51), (FakeMem::Operation{MemAccessType::W32, 258, {0}}));
}

TEST_F(PktIODriverTest, StreamDeliversWholeRecordsWithoutTouchingRegisters)
{
    alignas(4) std::array<uint8_t, 196> bytes{};
    const auto misaligned = reinterpret_cast<uint32_t*>(&bytes[1]);
    EXPECT_TRUE(PktIODriver(m_Mem, std::make_unique<FakeStream>(192)).readPacket(misaligned, 9));
    EXPECT_FALSE(PktIODriver(m_Mem, std::make_unique<FakeStream>(191)).readPacket(misaligned, 9));
    EXPECT_TRUE(m_Mem->log.empty());
}

TEST_F(PktIODriverTest, BrokenPreconditionsEndTheProcess)
{
    alignas(4) std::array<uint8_t, 200> bytes{};
    const auto misaligned = reinterpret_cast<uint32_t*>(&bytes[2]);
    EXPECT_DEATH(m_Driver.readPacket(misaligned, 0), "is_aligned\\(pBuffer, 4\\).*packetiodriver");
    EXPECT_DEATH(m_Driver.writePacket(misaligned), "is_aligned\\(pBuffer, 4\\)");
    EXPECT_DEATH(PktIODriver(m_Mem, std::unique_ptr<IIOIf>()), "static_cast<bool>\\(m_OptIOIF\\)");
}
