#include <osl/testing/emulation.h>
#include <osl/testing/temp_file.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/interfaces/pci/pciif.h>

#include <unistd.h>

using namespace Osl;
using Pci::PciError;
using Pci::PciIf;

TEST(PciIfTest, MapsTheDeviceSharedFromTheOffset)
{
    const TempFile device(0x3000);
    {
        PciIf mem(device.path(), 0x1000, 0x2000);
        EXPECT_EQ(mem.mappedSize(), 0x1000U);
        mem.write32(1, 0x04030201);
    }
    EXPECT_EQ(device.content().substr(0x2000, 8), std::string("\0\0\0\0\1\2\3\4", 8));
}

TEST(PciIfTest, FileShorterThanTheMappingIsRefused)
{
    const TempFile device(0x1FFF);
    EXPECT_THAT(failureOf<PciError>([&] { PciIf(device.path(), 0x2000, 0); }),
                StartsWith("PCI Error: Failed mmap of 8192 bytes (offset: 0) from device: " + device.path() + ". ("));
    EXPECT_THAT(failureOf<PciError>([&] { PciIf(device.path(), 0x1000, 0x1000); }), HasSubstr("(offset: 4096)"));
    EXPECT_NO_THROW(PciIf(device.path(), 0x1FFF, 0));
}

TEST(PciIfTest, AccessNeedsAnOpenAndMappedDevice)
{
    const TempFile device(0x1000);
    PciIf unmapped(device.path(), 0, 0);
    EXPECT_TRUE(unmapped.isOpen());
    EXPECT_THAT(failureOf<PciError>([&] { unmapped.read32(0); }),
                StartsWith("PCI Error: Cannot access device memory. Device " + device.path() +
                           " has no memory mapped into user space.("));
    PciIf mem(device.path(), 0x1000, 0);
    mem.close();
    mem.close();
    EXPECT_FALSE(mem.isMapped());
    EXPECT_THAT(failureOf<PciError>([&] { mem.write8(0, 1); }),
                StartsWith("PCI Error: Cannot access device memory. Device " + device.path() + " is not open.("));
}

TEST(PciIfTest, OpeningAnOpenDeviceTakesNoFurtherDescriptor)
{
    const TempFile device(0x1000);
    const auto lowestFree = [] {
        const int descriptor = ::dup(STDERR_FILENO);
        ::close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();
    {
        PciIf mem(device.path(), 0x1000, 0);
        mem.open();
        EXPECT_EQ(mem.read32(0), 0U);
    }
    EXPECT_EQ(lowestFree(), before);
}

TEST(PciIfTest, SizesThatReadAsNegativeGiveNoAccess)
{
    const TempFile device(size_t{1} << 31);
    PciIf mem(device.path(), 0x80000000, 0);
    EXPECT_EQ(mem.getMemSegment().bytes, 0U);
    EXPECT_THROW(mem.read8(0), Drivers::DevMemError);
}

TEST(PciIfTest, MemoryThatFaultsIsAnErrorAtTheFaultingByte)
{
    OSL_SKIP_UNDER_QEMU("does not deliver bus errors");
    const TempFile device(0x2000);
    PciIf mem(device.path(), 0x2000, 0);
    ASSERT_EQ(::truncate(device.path().c_str(), 0x1000), 0);
    EXPECT_EQ(mem.readBlock32(0, 0x400).size(), 0x400U);
    EXPECT_THAT(failureOf<Drivers::DevMemError>([&] { mem.readBlock32(0x3FE, 4); }),
                StartsWith("Device memory Error: Device does not answer. Access of type \"R32\" at byte offset 4096 "
                           "failed with a bus error("));
    EXPECT_THAT(failureOf<Drivers::DevMemError>([&] { mem.write16(0x801, 1); }),
                HasSubstr("\"W16\" at byte offset 4098 failed"));
    EXPECT_EQ(mem.read32(0), 0U);
}
