#include "virtual_board/packet_port.h"
#include "virtual_board/port_users.h"

#include <osl/linutils/file_lock.h>
#include <osl/testing/emulation.h>
#include <osl/testing/packet_maker.h>
#include <osl/testing/temp_folder.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <sys/wait.h>
#include <unistd.h>

using namespace Osl;
using namespace Osl::VirtualBoard;
using Drivers::Zeb::PktIODriver;
using LinuxCppUtil::FileLock;
using LinuxCppUtil::LockKind;

namespace {

/// Sends back, by the registers, each packet that it receives there.
[[noreturn]] void sendBack(const std::string& path, int count)
{
    auto device = std::make_shared<Pci::PciIf>(path, 0x1000, 0);
    const FileLock receiving(device->descriptor(), path);
    const FileLock sending(device->descriptor(), path, {}, LockKind::RECORD);
    PktIODriver port(device);
    PacketPort::Record record{};
    for (int i = 0; i < count; ++i) {
        if (!port.readPacket(record.data(), 100'000))
            ::_exit(1);
        port.writePacket(record.data());
    }
    ::_exit(0);
}

} // namespace

TEST(PortUsersTest, EachPacketIsPassedOnceBothWays)
{
    OSL_SKIP_UNDER_QEMU("traces no process");
    constexpr uint8_t COUNT = 200;
    TempFolder folder;
    folder.put("/port", std::vector<uint32_t>(1024));
    const std::string path = folder.root() + "/port";
    Pci::PciIf device(path, 0x1000, 0);
    PacketPort port(static_cast<volatile uint32_t*>(device.getMemSegment().base), {});
    std::vector<int> back;
    const auto act = [&] {
        port.serve([&back](const PacketPort::Record& record) { back.push_back(static_cast<int>(record[47] >> 24)); });
    };
    std::vector<std::string> complaints;
    PortUsers users(path, UsersAre::IN_THIS_SANDBOX, act, [&](const std::string& what) { complaints.push_back(what); });

    std::vector<int> sent;
    for (uint8_t mark = 0; mark < COUNT; ++mark) {
        port.deliver(7, Packet().mark(mark).bytes.data());
        sent.push_back(mark);
    }
    const pid_t child = ::fork();
    if (child == 0)
        sendBack(path, COUNT);
    users.lookFor(PortUsers::Clock::now());
    siginfo_t info = {};
    do {
        users.serve(PortUsers::Clock::now());
        port.setUsers(users.areReceiving(), users.areSending());
        ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT), 0);
    } while (info.si_pid == 0 || info.si_code == CLD_TRAPPED);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(back, sent);
    EXPECT_THAT(complaints, IsEmpty());
    users.serve(PortUsers::Clock::now());
    EXPECT_FALSE(users.areReceiving() || users.areSending());
}
