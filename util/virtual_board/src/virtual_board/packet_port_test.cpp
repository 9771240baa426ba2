#include "virtual_board/packet_port.h"

#include <osl/testing/packet_maker.h>
#include <osl/testing/test.h>

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Osl;
using namespace Osl::VirtualBoard;

namespace {

/// The port's registers, literally, and both ends of its stream.
class PacketPortTest : public testing::Test
{
protected:
    PacketPortTest()
    {
        const std::string pipe = testing::TempDir() + "packet_port." + std::to_string(::getpid());
        EXPECT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        m_Stream = LinuxCppUtil::makeUniqueFD(pipe, O_RDWR | O_NONBLOCK);
        m_Port = std::make_unique<PacketPort>(m_Words.data(), LinuxCppUtil::makeUniqueFD(pipe, O_RDWR | O_NONBLOCK));
        ::unlink(pipe.c_str());
    }
    void serve()
    {
        m_Port->serve([this](const PacketPort::Record& record) { m_Sent.push_back(record); });
    }
    void deliver(uint8_t mark) { m_Port->deliver(7, Packet().mark(mark).bytes.data()); }

    std::vector<uint32_t> m_Words = std::vector<uint32_t>(1024);
    LinuxCppUtil::UniqueFD m_Stream;
    std::unique_ptr<PacketPort> m_Port;
    std::vector<PacketPort::Record> m_Sent;
    PacketPort::Clock::time_point m_Now{std::chrono::hours(1)};
};

} // namespace

TEST_F(PacketPortTest, RegistersShowEachPacketToAReceiverUntilItIsReleased)
{
    const auto expectShown = [this](uint32_t status, uint8_t mark) {
        serve();
        EXPECT_EQ(m_Words[16], status);
        EXPECT_EQ(m_Words[110] >> 24, mark);
    };
    deliver(1);
    deliver(2);
    expectShown(0, 0);
    for (int receiver = 0; receiver < 2; ++receiver) { // the first one leaves the packet to the second
        m_Port->setUsers(true, false);
        expectShown(1, 1);
        m_Port->setUsers(false, false);
        expectShown(0, 1);
    }
    m_Port->setUsers(true, false);
    EXPECT_EQ(m_Words[20], 0x07000000U);
    EXPECT_EQ(m_Words[64], 0x10000147U);
    m_Words[17] = 0x31;
    expectShown(1, 2);
    EXPECT_EQ(m_Words[17], 0x30U);
    m_Words[17] = 1;
    expectShown(0, 2);
    m_Words[17] = 1; // nothing is there to be released
    expectShown(0, 2);
    deliver(3);
    expectShown(1, 3);
}

TEST_F(PacketPortTest, StreamHasWholeRecordsAndWhatAReaderMissesIsTold)
{
    std::array<uint8_t, 1000> bytes{};
    deliver(1);
    ASSERT_EQ(::read(*m_Stream, bytes.data(), bytes.size()), 192);
    EXPECT_EQ(bytes[3], 7);
    EXPECT_EQ(bytes[4], 0x47);
    const auto fill = [&] {
        for (int i = 0; i < 1000; ++i)
            deliver(2);
        return m_Port->losses(m_Now += std::chrono::seconds(1), false);
    };
    EXPECT_THAT(fill(), ElementsAre(testing::StartsWith("packet port: ")));
    std::size_t waiting = 0;
    for (ssize_t got; (got = ::read(*m_Stream, bytes.data(), 192)) > 0; ++waiting)
        EXPECT_EQ(got, 192);
    EXPECT_EQ(m_Port->bytes(), 1001 * 192U);
    EXPECT_LT(waiting, 1000U);
    m_Stream.reset();
    EXPECT_THAT(fill(), IsEmpty()) << "nobody reads";
}

TEST_F(PacketPortTest, SendsWhatWasLoadedOnce)
{
    EXPECT_EQ(m_Words[32], 0U);
    m_Port->setUsers(false, true);
    EXPECT_EQ(m_Words[32], 1U);
    m_Words[36] = 0xC0000005;
    m_Words[128] = 0x47;
    m_Words[174] = 9;
    serve();
    EXPECT_TRUE(m_Sent.empty());
    m_Words[33] = 1;
    serve();
    serve();
    ASSERT_EQ(m_Sent.size(), 1U);
    EXPECT_EQ(m_Sent[0][0], 0xC0000005U);
    EXPECT_EQ(m_Sent[0][1], 0x47U);
    EXPECT_EQ(m_Sent[0][47], 9U);
    EXPECT_EQ(m_Words[32], 1U);
}

TEST_F(PacketPortTest, ResetForgetsWhatNobodyTook)
{
    m_Port->setUsers(true, false);
    deliver(1);
    deliver(2);
    serve();
    m_Words[258] = 1;
    serve();
    m_Words[258] = 0;
    serve();
    EXPECT_EQ(m_Words[16], 0U);
    std::array<uint8_t, 192> bytes{};
    EXPECT_EQ(::read(*m_Stream, bytes.data(), bytes.size()), -1);
}
