#include "zeb_fpga_shell/pktio/transmission.h"

#include <osl/cpputils/log.h>
#include <osl/linutils/file_lock.h>
#include <osl/linutils/raii_filedescriptors.h>
#include <osl/testing/fake_timing.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace Osl;
using namespace Osl::Utils;

namespace {

constexpr uint64_t TICKS = 3000;

/// A file of packets at a constant rate with a PCR in every fourth, and a plain file in a channel's place.
class TransmissionTest : public testing::Test
{
public:
    ~TransmissionTest() override { std::filesystem::remove_all(m_Folder); }

protected:
    TransmissionTest()
    {
        CppUtil::Log::setUp(CppUtil::Log::Level::WARNING);
        std::filesystem::create_directory(m_Folder);
        std::ofstream(m_Folder + "/tx0");
    }

    void makeFile(std::size_t packets)
    {
        std::ofstream file(m_Input.path(), std::ios::binary | std::ios::trunc);
        for (std::size_t i = 0; i < packets; ++i) {
            const Packet packet = i % 4 == 0 ? Packet().pcr(i * TICKS) : Packet();
            file.write(reinterpret_cast<const char*>(packet.bytes.data()), 188);
        }
    }
    SendResult send()
    {
        std::ostringstream progress;
        const SendEnvironment environment{.stopped = [this] { return m_Stopped.load(); },
                                          .timing = m_Timing.timing(),
                                          .progress = progress,
                                          .channelPrefix = m_Folder + "/tx",
                                          .port = {m_Port.path().c_str(), 0x1000}};
        testing::internal::CaptureStderr();
        SendResult result;
        try {
            result = transmit(m_Settings, environment);
        } catch (const Error&) {
            testing::internal::GetCapturedStderr();
            throw;
        }
        m_Warnings = testing::internal::GetCapturedStderr();
        m_Progress = progress.str();
        return result;
    }
    std::uintmax_t sentBytes() const { return std::filesystem::file_size(m_Folder + "/tx0"); }

    TempFile m_Input;
    TempFile m_Port{0x1000};
    std::string m_Folder = m_Input.path() + ".dev";
    SendSettings m_Settings{.file = m_Input.path(), .designatorMode = 0, .designator = 5, .bufferPackets = 10};
    Testing::FakeTiming m_Timing;
    std::atomic<bool> m_Stopped = false;
    std::string m_Warnings, m_Progress;
};

} // namespace

TEST_F(TransmissionTest, SendsEveryPacketInSegmentsAndSaysSo)
{
    makeFile(102);
    const SendResult result = send();
    EXPECT_EQ(result.failure, "");
    EXPECT_EQ(result.summary, "Sent 102 packets, 19176 bytes, 26 segments, PCR PID 256 (0x0100), in 0.000 seconds at "
                              "0.00 bit/s");
    EXPECT_EQ(sentBytes(), 102 * 192 + 26 * 64U);
    EXPECT_EQ(m_Warnings, "");
}

TEST_F(TransmissionTest, WhatAnotherProcessSendsThroughIsLeftAlone)
{
    using LinuxCppUtil::FileLock, LinuxCppUtil::LockError, LinuxCppUtil::LockKind;
    makeFile(102);
    const auto channel = LinuxCppUtil::makeUniqueFD(m_Folder + "/tx0", O_RDWR);
    const FileLock lock(*channel, "tx0");
    EXPECT_THAT(Testing::failureOf<LockError>([this] { send(); }), HasSubstr(m_Folder + "/tx0 is in use by process "));
    EXPECT_EQ(sentBytes(), 0U);

    m_Settings.byRegisters = true;
    m_Timing.onWait = [this] { m_Stopped = true; };
    const auto port = LinuxCppUtil::makeUniqueFD(m_Port.path(), O_RDWR);
    const FileLock receiver(*port, "port");
    EXPECT_EQ(send().failure, "");
    const FileLock sender(*port, "port", {}, LockKind::RECORD);
    EXPECT_THAT(Testing::failureOf<LockError>([this] { send(); }),
                HasSubstr(m_Port.path() + " is in use by another process("));
}

TEST_F(TransmissionTest, StopEndsTheSendBehindASegment)
{
    makeFile(102);
    m_Settings.loop = true;
    m_Settings.showProgress = true;
    // The clock is asked for each segment's progress line: the user stops at the thirtieth.
    Testing::FakeTiming& timing = m_Timing;
    int asked = 0;
    std::ostringstream progress;
    const SendEnvironment environment{.stopped = [&] { return asked >= 30; },
                                      .timing = {.now =
                                                     [&] {
                                                         ++asked;
                                                         return timing.time += std::chrono::milliseconds(50);
                                                     },
                                                 .wait = timing.timing().wait},
                                      .progress = progress,
                                      .channelPrefix = m_Folder + "/tx",
                                      .port = {m_Port.path().c_str(), 0x1000}};
    const SendResult result = transmit(m_Settings, environment);
    EXPECT_EQ(result.failure, "");
    EXPECT_EQ(sentBytes() % 4, 0U);
    EXPECT_GT(sentBytes(), 20 * (4 * 192 + 64U));
    EXPECT_LT(sentBytes(), 31 * (4 * 192 + 64U));
    EXPECT_THAT(progress.str(), StartsWith("\r\x1b[K"));
    EXPECT_THAT(progress.str(), EndsWith("\r\x1b[K"));
}

TEST_F(TransmissionTest, RegistersTakePacketByPacketWithTheDesignatorHeader)
{
    makeFile(3);
    m_Settings.byRegisters = true;
    m_Settings.designatorMode = 3;
    m_Settings.designator = 9;
    const auto registers = LinuxCppUtil::makeUniqueFD(m_Port.path(), O_RDWR);
    const auto word = [&](off_t index, uint32_t value) { EXPECT_EQ(::pwrite(*registers, &value, 4, index * 4), 4); };
    int waits = 0;
    m_Timing.onWait = [&] { word(32, ++waits == 3); };
    EXPECT_THAT(send().summary, StartsWith("Sent 3 packets, 564 bytes, packet by packet"));
    EXPECT_EQ(waits, 3);
    const std::string memory = m_Port.content();
    EXPECT_EQ(memory.substr(0x90, 4), std::string("\x09\x00\x00\xC0", 4));
    EXPECT_EQ(memory[0x200], 0x47);
    EXPECT_EQ(memory[0x84], 1);

    word(32, 0);
    m_Timing.onWait = [this] { m_Stopped = true; };
    EXPECT_EQ(send().failure, "") << "a stop while the port is never free";
}
