#include "zeb_fpga_shell/pktio/capture.h"
#include "zeb_fpga_shell/pktio/patient_stream.h"

#include <osl/testing/failure_of.h>
#include <osl/testing/fake_mem.h>
#include <osl/testing/fake_timing.h>
#include <osl/testing/packet_maker.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <sstream>

using namespace Osl;
using namespace Osl::Utils;
using namespace std::chrono_literals;
using Osl::Testing::failureOf;
using Osl::Testing::FakeTiming;
using Osl::Testing::Packet;
using testing::HasSubstr;

namespace {

/// Delivers records, then nothing while its clock moves on, or what else a device can do.
struct FakeRx : Drivers::IIOIf
{
    explicit FakeRx(FakeTiming& timing) : m_Timing(timing) {}
    std::size_t read(void* buffer, std::size_t length, std::chrono::milliseconds timeout) override
    {
        EXPECT_LT(timeout, 1000ms) << "the device refuses longer waits";
        if (m_Interrupted)
            OSL_RAISE(CppUtil::IOError, "Interrupted system call");
        if (m_Records.empty()) {
            if (!m_Ended)
                m_Timing.time += timeout;
            return 0;
        }
        std::memcpy(buffer, m_Records.front().data(), m_Records.front().size());
        const std::size_t count = std::min(length, m_Records.front().size());
        m_Records.pop_front();
        return count;
    }
    std::size_t read(void*, std::size_t) override { return 0; }
    std::size_t write(const void*, std::size_t, std::chrono::milliseconds) override { return 0; }
    std::size_t write(const void*, std::size_t) override { return 0; }

    void add(uint8_t tsi, const Packet& packet)
    {
        std::vector<uint8_t> record{0, 0, 0, tsi};
        record.insert(record.end(), packet.bytes.begin(), packet.bytes.end());
        m_Records.push_back(record);
    }

    FakeTiming& m_Timing;
    std::deque<std::vector<uint8_t>> m_Records;
    bool m_Ended = false;
    bool m_Interrupted = false;
};

class CaptureTest : public testing::Test
{
protected:
    /// Runs a capture; its statistics go behind the lines.
    Capture& capture(CaptureSettings settings)
    {
        m_Settings = std::move(settings);
        m_Capture.emplace(m_Settings, m_Port, m_Text, &m_File);
        m_Capture->run([this] { return m_Stopped; }, m_Timing.timing());
        return *m_Capture;
    }

    FakeTiming m_Timing;
    bool m_Stopped = false;
    std::unique_ptr<FakeRx> m_OwnedRx = std::make_unique<FakeRx>(m_Timing);
    FakeRx& m_Rx = *m_OwnedRx;
    Drivers::Zeb::PktIODriver m_Port{
        std::make_shared<Testing::FakeMem>(512),
        std::make_unique<PatientStream>(
            std::move(m_OwnedRx), "rx", [this] { return m_Stopped; }, m_Timing.timing().now)};
    std::ostringstream m_Text, m_File;
    CaptureSettings m_Settings;
    std::optional<Capture> m_Capture;
};

} // namespace

TEST_F(CaptureTest, ShowsAndStoresThePacketsThatAreWanted)
{
    m_Rx.add(3, Packet(0x100).pcr(599).counter(5));
    m_Rx.add(4, Packet(0x100));
    m_Rx.add(3, Packet(0x101));
    m_Rx.add(3, Packet(0x100).unit({0, 0, 1}).scrambled().counter(6));
    const Capture& done = capture({.count = 2, .tsis = {3, 9}, .pids = {0x100}});
    EXPECT_TRUE(done.complete());
    EXPECT_EQ(m_Text.str(), "1: TSI 3 PID 0x0100 (256) CC 5 adaptation PCR 599\n"
                            "2: TSI 3 PID 0x0100 (256) CC 6 start scrambled\n");
    EXPECT_EQ(m_File.str().size(), 2 * 188U);
    EXPECT_EQ(m_File.str()[0], 0x47);
}

TEST_F(CaptureTest, WritesWholeRecordsAndDumpsBytes)
{
    m_Rx.add(3, Packet(0x100).mark(0xAB));
    capture({.count = 1, .hex = true, .wholeRecords = true});
    EXPECT_EQ(m_File.str().size(), 192U);
    EXPECT_EQ(m_File.str()[3], 3);
    EXPECT_THAT(m_Text.str(), HasSubstr("\n    00: 47 01 00 10 ff ff ff ff ff ff ff ff ff ff ff ff\n    10: "));
    EXPECT_THAT(m_Text.str(), testing::EndsWith("    b0: ff ff ff ff ff ff ff ff ff ff ff ab\n"));
}

TEST_F(CaptureTest, DropsAndCountsRecordsWithoutSync)
{
    Packet bad;
    bad.bytes[0] = 0x46;
    m_Rx.add(1, bad);
    m_Rx.add(1, Packet());
    const Capture& done = capture({.count = 1});
    EXPECT_EQ(done.taken(), 1U);
    EXPECT_EQ(done.withoutSync(), 1U);
    EXPECT_EQ(m_File.str().size(), 188U);
}

TEST_F(CaptureTest, GivesUpAfterTheTimeOutButNeverWithoutOne)
{
    m_Rx.add(1, Packet());
    const Capture& done = capture({.count = 5, .timeout = 1500ms});
    EXPECT_FALSE(done.complete());
    EXPECT_EQ(done.taken(), 1U);
    EXPECT_NEAR(done.seconds(), 1.5, 0.06);

    int looks = 0;
    Capture endless(m_Settings = {.count = 0, .timeout = 0ms}, m_Port, m_Text, nullptr);
    endless.run([&] { return ++looks == 1000; }, m_Timing.timing());
    EXPECT_GT(endless.seconds(), 40);
}

TEST_F(CaptureTest, DeviceThatEndsOrCutsARecordIsAnError)
{
    m_Rx.m_Records.push_back(std::vector<uint8_t>(100));
    EXPECT_THAT(failureOf<CppUtil::IOError>([&] { capture({}); }), HasSubstr("rx delivered 100 of the 192 bytes"));
    m_Rx.m_Ended = true;
    EXPECT_THAT(failureOf<CppUtil::IOError>([&] { capture({}); }), HasSubstr("rx has ended"));
}

TEST_F(CaptureTest, InterruptedWaitIsAFailureOnlyWhenNobodyAskedToStop)
{
    m_Rx.m_Interrupted = true;
    EXPECT_THROW(capture({}), CppUtil::IOError);
    uint8_t record[192];
    m_Stopped = true;
    EXPECT_FALSE(m_Port.readPacket(reinterpret_cast<uint32_t*>(record), 0));
}

TEST(CaptureStatsTest, CountsWhatIsWrongWithAStream)
{
    CaptureStats stats;
    const auto count = [&](const Packet& packet) { stats.count(7, packet.bytes.data()); };
    const auto cc = [](uint8_t counter) { return Packet(0x200).counter(counter); };
    count(cc(14));
    count(cc(15));
    count(cc(0));
    count(cc(0));                          // may come twice …
    count(cc(0));                          // … but not three times: error 1
    count(cc(1).adaptation().noPayload()); // moves without payload: error 2
    count(cc(1).adaptation().noPayload());
    count(cc(2).pcr(0));
    count(cc(9)); // error 3
    Packet announced = cc(4).adaptation();
    Osl::Ts::Ll::setDiscontinuity(announced.bytes.data());
    count(announced);
    Packet broken = cc(12);
    broken.bytes[1] |= 0x80;
    count(broken);
    count(cc(5).scrambled());
    stats.count(1, Packet(0x1FFF).counter(3).bytes.data());
    stats.count(1, Packet(0x1FFF).counter(3).bytes.data());
    stats.count(1, Packet(0x1FFF).counter(3).bytes.data());
    std::ostringstream out;
    stats.print(out, 1);
    EXPECT_EQ(out.str(),
              "TSI 1 PID 0x1fff (8191): 3 packets, 4.51 kbit/s, 0 continuity errors, 0 transport errors, 0 scrambled, "
              "0 PCRs\n"
              "TSI 7 PID 0x0200 (512): 12 packets, 18.05 kbit/s, 3 continuity errors, 1 transport errors, 1 scrambled, "
              "1 PCRs\n");
}
