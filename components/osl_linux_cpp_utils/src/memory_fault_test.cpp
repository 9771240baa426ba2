#include <osl/linutils/memory_fault.h>
#include <osl/testing/emulation.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

using namespace Osl::LinuxCppUtil;

namespace {

/// A page mapped from a file that has been cut to nothing: every access faults.
class CutMapping
{
public:
    CutMapping()
    {
        char path[] = "/tmp/memory_fault_test.XXXXXX";
        const int fd = ::mkstemp(path);
        EXPECT_EQ(::ftruncate(fd, 4096), 0);
        m_Base = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        EXPECT_EQ(::ftruncate(fd, 0), 0);
        ::close(fd);
        ::unlink(path);
    }
    ~CutMapping() { ::munmap(m_Base, 4096); }
    CutMapping(const CutMapping&) = delete;
    CutMapping& operator=(const CutMapping&) = delete;

    volatile char* at(std::size_t offset) const { return static_cast<volatile char*>(m_Base) + offset; }

private:
    void* m_Base;
};

} // namespace

TEST(MemoryFaultTest, AnswersTheFaultingAddressEachTimeAndAnInnerGuardLeavesTheOuterInForce)
{
    OSL_SKIP_UNDER_QEMU("does not deliver bus errors");
    const CutMapping cut;
    for (const std::size_t offset : {7U, 4095U}) {
        const auto fault = guardMemoryFault([&] {
            EXPECT_EQ(guardMemoryFault([&] { *cut.at(1) = 1; }), cut.at(1));
            EXPECT_EQ(guardMemoryFault([] {}), std::nullopt);
            *cut.at(offset) = 1;
        });
        EXPECT_EQ(fault, cut.at(offset));
    }
}

TEST(MemoryFaultDeathTest, UnguardedFaultStillEndsTheProcess)
{
    const CutMapping cut;
    (void)guardMemoryFault([] {});
    EXPECT_EXIT(*cut.at(0) = 1, testing::KilledBySignal(SIGBUS), "");
}
