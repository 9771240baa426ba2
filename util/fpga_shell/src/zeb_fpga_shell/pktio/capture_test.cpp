#include "zeb_fpga_shell/pktio/capture.h"

#include <osl/testing/fake_mem.h>
#include <osl/testing/fake_timing.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/patientstream.h>

#include <cstring>
#include <deque>
#include <sstream>

using namespace Osl;
using namespace Osl::Utils;
using namespace std::chrono_literals;

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
        m_Timing.time += m_Spacing;
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
    std::chrono::milliseconds m_Spacing{0}; ///< of the records
    bool m_Ended = false;
    bool m_Interrupted = false;
};

class CaptureTest : public testing::Test
{
protected:
    Capture& capture(CaptureSettings settings)
    {
        m_Settings = std::move(settings);
        PacketFile file(m_Target.path());
        m_Capture.emplace(m_Settings, m_Port, m_Text, &file);
        m_Capture->run([this] { return m_Stopped; }, m_Timing.timing());
        file.finish();
        return *m_Capture;
    }

    FakeTiming m_Timing;
    bool m_Stopped = false;
    std::unique_ptr<FakeRx> m_OwnedRx = std::make_unique<FakeRx>(m_Timing);
    FakeRx& m_Rx = *m_OwnedRx;
    Drivers::Zeb::PktIODriver m_Port{
        std::make_shared<Testing::FakeMem>(512),
        std::make_unique<Drivers::PatientStream>(
            std::move(m_OwnedRx), "rx", [this] { return m_Stopped; }, m_Timing.timing().now)};
    std::ostringstream m_Text;
    Testing::TempFile m_Target;
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
    EXPECT_EQ(m_Target.content().size(), 2 * 188U);
    EXPECT_EQ(m_Target.content()[0], 0x47);
}

TEST_F(CaptureTest, WritesWholeRecordsAndDumpsBytes)
{
    m_Rx.add(3, Packet(0x100).mark(0xAB));
    capture({.count = 1, .hex = true, .wholeRecords = true});
    EXPECT_EQ(m_Target.content().size(), 192U);
    EXPECT_EQ(m_Target.content()[3], 3);
    EXPECT_THAT(m_Text.str(), HasSubstr("\n    00: 47 01 00 10 ff ff ff ff ff ff ff ff ff ff ff ff\n    10: "));
    EXPECT_THAT(m_Text.str(), EndsWith("    b0: ff ff ff ff ff ff ff ff ff ff ff ab\n"));
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
    EXPECT_EQ(m_Target.content().size(), 188U);
}

TEST_F(CaptureTest, GivesUpAfterTheTimeOutButNeverWithoutOne)
{
    m_Rx.m_Spacing = 1000ms;
    for (int i = 0; i < 3; ++i)
        m_Rx.add(1, Packet());
    const Capture& done = capture({.count = 5, .timeout = 1500ms});
    EXPECT_FALSE(done.complete());
    EXPECT_EQ(done.taken(), 3U);
    EXPECT_NEAR(inSeconds(m_Timing.time.time_since_epoch()), 4.5, 0.06) << "counts from the last packet";

    int looks = 0;
    Capture endless(m_Settings = {.count = 0, .timeout = 0ms}, m_Port, m_Text, nullptr);
    endless.run([&] { return ++looks == 1000; }, m_Timing.timing());
    EXPECT_GT(inSeconds(m_Timing.time.time_since_epoch()), 40);
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

TEST(CaptureStatsTest, CountsByInputAndPidAndTakesTheRateFromTheFirstPacketToTheLast)
{
    const auto cc = [](uint8_t counter) { return Packet(0x200).counter(counter); };
    Packet broken = cc(3);
    broken.bytes[1] |= 0x80;
    const Packet second[] = {cc(1),  cc(2),  cc(3).pcr(0), cc(4).scrambled(), cc(5), cc(7), cc(8), cc(9),
                             cc(10), cc(11), broken};
    CaptureStats stats;
    CaptureStats::TimePoint time;
    for (const Packet& packet : second)
        stats.count(7, packet.bytes.data(), time += 100ms);
    stats.count(8, cc(1).bytes.data(), time);
    std::ostringstream out;
    stats.print(out);
    EXPECT_EQ(out.str(), "TSI 7 PID 0x0200 (512): 11 packets, 15.04 kbit/s, 1 continuity errors, 1 transport errors, "
                         "1 scrambled, 1 PCRs\n"
                         "TSI 8 PID 0x0200 (512): 1 packets, no rate, 0 continuity errors, 0 transport errors, "
                         "0 scrambled, 0 PCRs\n");
}
