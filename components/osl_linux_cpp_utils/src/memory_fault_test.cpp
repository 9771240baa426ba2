#include <osl/linutils/memory_fault.h>
#include <osl/testing/test.h>

#include <csignal>
#include <cstdio>
#include <sys/mman.h>

using namespace Osl::LinuxCppUtil;

TEST(MemoryFaultDeathTest, UnguardedFaultStillEndsTheProcess)
{
    std::FILE* const empty = std::tmpfile();
    void* const base = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, ::fileno(empty), 0);
    (void)guardMemoryFault([] {});
    EXPECT_EXIT(*static_cast<volatile char*>(base) = 1, testing::KilledBySignal(SIGBUS), "");
    std::fclose(empty);
}
