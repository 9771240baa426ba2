#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <tuple>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::IpAdrContainer;
using Osl::CppUtil::MacAdrContainer;

using Words = std::vector<uint32_t>;

namespace {

template <class Entry>
Entry decoded(const Words& words)
{
    Entry entry;
    entry.setFromWords(words);
    return entry;
}

const std::string PREFIX = "Driver (user space) error: ZEB Driver (user space) error: ";
const MacAdrContainer MAC(std::string("01:00:5E:12:34:56"));
const IpAdrContainer IP(std::string("239.192.0.42"));

} // namespace

TEST(EntriesTest, FieldsLieWhereTheFpgaExpectsThemAndAreShownInTheirWidths)
{
    struct Case
    {
        const FieldEntry& entry;
        Words words;
        uint32_t row;
        const char* line;
    };
    const Case cases[] = {
        {PidLutEntry(3, 0x100, 7, 255, false, true),
         {0x00006100, 0xFF002007},
         5,
         "005 (0x0000200a): TSIIDX:003, PID:0x0100(0256), PIDIDX:0007, CPU_ROUTE:YES, OUT_ROUTE:NO, FILTIDX:255"},
        {PidLutEntry(255, 8191, 4094, 1, true, false),
         {0x001FFFFF, 0x01001FFE},
         2047,
         "2047 (0x00002ffe): TSIIDX:255, PID:0x1fff(8191), PIDIDX:4094, CPU_ROUTE:NO, OUT_ROUTE:YES, FILTIDX:001"},
        {IpInEntry(2, "239.192.0.42", 80),
         {0xEFC0002A, 0x01020050},
         3,
         "003 (0x00000806): IP:239.192.0.42, UDP_PORT:00080, TSIIDX:002, ENABLED:YES"},
        {IpOutEntry(9, MAC, IP, 5, true, false),
         {0x00000100, 0x5E123456, 0xEFC0002A, 0x00010005},
         9,
         "009 (0x00000424): TSOIDX:009, MAC:01:00:5E:12:34:56, IP:239.192.0.42, PORT:05, RTP:YES, ENABLED:NO"},
        {IpOutEntry(255, MAC, IP, 5000, false, true),
         {0x00000100, 0x5E123456, 0xEFC0002A, 0x00021388},
         255,
         "255 (0x000007fc): TSOIDX:255, MAC:01:00:5E:12:34:56, IP:239.192.0.42, PORT:5000, RTP:NO, ENABLED:YES"},
        {PhysInEntry(6, 7), {7}, 6, "006 (0x00000086): PHYIIDX:06, TSIIDX:007"},
        {PhysOutEntry(8, 31, true), {0x11F}, 8, "008 (0x00000108): TSOIDX:008, PHYOIDX:031, ENABLED:YES"},
        {PidMapEntry(12, 2, 13, 0x20, true, false),
         {0x00202002, 13},
         12,
         "0012 (0x00004018): PIDIDX:0012, OPID:0x0020(0032), TSOIDX:002, NEXTPIDIDX:0013, ENABLED:NO, REMAP:YES"},
        {PidMapEntry(7, 0, 4095, 8191, false, true),
         {0x005FFF00, 0xFFF},
         7,
         "0007 (0x0000400e): PIDIDX:0007, OPID:0x1fff(8191), TSOIDX:000, NEXTPIDIDX:4095, ENABLED:YES, REMAP:NO"},
        {TsiMapEntry(9, 0x123, true), {0x1123}, 9, "009 (0x00000109): TSIIDX:009, PIDIDX:0291, ENABLED:YES"},
        {FilterTabEntry(254, 255), {255}, 254, "254 (0x000002fe): "},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.entry.getWords(), c.words) << c.line;
        FakeMem mem(0x8000);
        std::copy(c.words.begin(), c.words.end(), mem.words.begin() + c.entry.table().rowOffset(c.row));
        std::ostringstream out;
        printTable(mem, c.entry.table(), {c.row, 1, false, true}, out);
        EXPECT_EQ(out.str(), std::string(c.line) + "\n");
    }
}

TEST(EntriesTest, StuffingRowsRouteNothing)
{
    EXPECT_THAT(PidLutEntry().getWords(), ElementsAre(0x001FFFFF, 0xFF000FFF));
    EXPECT_THAT(IpInEntry().getWords(), ElementsAre(0, 0x00FFFFFF));
    EXPECT_THAT(IpOutEntry(3).getWords(), ElementsAre(0, 0, 0, 0xFFFF));
    EXPECT_THAT(PhysInEntry(3).getWords(), ElementsAre(255));
    EXPECT_THAT(PhysOutEntry(3).getWords(), ElementsAre(255));
    EXPECT_THAT(PidMapEntry(3).getWords(), ElementsAre(0x001FFFFF, 0));
    EXPECT_THAT(TsiMapEntry(3).getWords(), ElementsAre(0xFFF));
    EXPECT_THAT(FilterTabEntry(3).getWords(), ElementsAre(0));

    EXPECT_THAT((std::array{+IpOutEntry().getTSOidx(), +PhysInEntry().getPHYIidx(), +PhysOutEntry().getTSOidx(),
                            +PidMapEntry().getPIDidx(), +TsiMapEntry().getTSIidx()}),
                ElementsAre(255, 31, 255, 4095, 255));
    FilterTabEntry filter(3, 9);
    filter.setStuffing();
    EXPECT_EQ(filter.getFILTTABIDX(), 3) << "stays";
}

TEST(EntriesTest, GettersSeeTheDecodedRow)
{
    const auto pidLut = decoded<PidLutEntry>({0x00006100, 0x05001007});
    EXPECT_EQ(std::tuple(pidLut.getTSIIDX(), pidLut.getPID(), pidLut.getPIDIDX(), pidLut.getFiltTabIDX(),
                         pidLut.isOutRoute(), pidLut.isCpuRoute()),
              std::tuple(3, 0x100, 7, 5, true, false));
    const auto ipIn = decoded<IpInEntry>({0xEFC0002A, 0x01021388});
    EXPECT_EQ(std::tuple(ipIn.getIpAddress(), ipIn.getUdpPort(), ipIn.getTSIidx(), ipIn.isEnabled()),
              std::tuple(IP, 5000, 2, true));
    const auto ipOut = decoded<IpOutEntry>({0x00000100, 0x5E123456, 0xEFC0002A, 0x00011388});
    EXPECT_EQ(std::tuple(ipOut.getMacAddress(), ipOut.getIpAddress(), ipOut.getUdpPort(), ipOut.isRtp()),
              std::tuple(MAC, IP, 5000, true));
    PidMapEntry pidMap(7);
    pidMap.setFromWords(Words{0x00602002, 8});
    EXPECT_EQ(std::tuple(pidMap.getPIDidx(), pidMap.getTSOidx(), pidMap.getRemapPID(), pidMap.getNextPIDidx()),
              std::tuple(4095, 2, 0x20, 8));
    EXPECT_EQ(decoded<PhysOutEntry>({0x1FF}).getPHYOidx(), 255);
    EXPECT_EQ(decoded<TsiMapEntry>({0x00001FFF}).getPIDidx(), 4095);
    EXPECT_EQ(decoded<PhysInEntry>({0xFFFFFF05}).getTSIidx(), 5);
    EXPECT_EQ(decoded<FilterTabEntry>({0x12345678}).getPacketCount(), 0x12345678U);
}

// The commands' tests show the texts of all other ranges.
TEST(EntriesTest, ConstructorsAndSettersNameTheFirstFieldThatIsOutOfRange)
{
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[] { PidLutEntry(256, 8192, 1, 0, false, false); }, "PidLutEntry created/modified with invalid TSIIDX (256)"},
        {[] { PidLutEntry(3, 8192, 0, 0, false, false); }, "PidLutEntry created/modified with invalid PID (8192)"},
        {[] { PidLutEntry(3, 0, 0, 256, false, false); }, "PidLutEntry created/modified with invalid PIDIDX (0)"},
        {[] { IpInEntry(256, "x", 65536); }, "IpInEntry created with invalid TSIidx (256)"},
        {[] { IpInEntry(0, "239.1.1", 65536); }, "IpInEntry created with invalid IP address (239.1.1)"},
        {[] { IpOutEntry(256, MAC, IP, 65536, false, false); }, "TSOIdx out of range"},
        {[] { IpOutEntry(255, MAC, IP, 65536, false, false); }, "UDPPort out of range"},
        {[] { PhysInEntry(64, 256); }, "Cannot create PhysInEntry - invalid PHYIidx (64)"},
        {[] { PhysInEntry(63, 256); }, "Cannot create PhysInEntry - invalid TSIidx (256)"},
        {[] { PhysOutEntry(256, 32, true); }, "Cannot create PhysOutEntry - invalid TSOidx (256)"},
        {[] { PidMapEntry(4096, 256, 0, 0, false, false); }, "Cannot create PidMapEntry - invalid PIDidx (4096)"},
        {[] { PidMapEntry(1, 256, 1, 0, false, false); }, "Cannot create PidMapEntry - invalid TSOidx (256)"},
        {[] { PidMapEntry(1, 0, 1, 8192, false, false); }, "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (1)"},
        {[] { PidMapEntry(1, 0, 2, 8192, false, false); }, "Cannot create PidMapEntry - invalid PID value (8192)"},
        {[] { TsiMapEntry(256, 0, true); }, "Cannot create TsiMapEntry - invalid TSIidx (256)"},
        {[] { TsiMapEntry(0, 0, true); }, "Cannot create TsiMapEntry - invalid PIDidx (0)"},
        {[] { FilterTabEntry(256, 256); }, "FilterTabEntry created/modified with invalid FILTTABIDX (256)"},
        {[] { IpInEntry().setIpAddress("nix"); }, "Attempt to set invalid IP address (nix)"},
        {[] { IpInEntry().setUdpPort(65536); }, "Attempt to set invalid UDP port (65536)"},
        {[] { IpInEntry().setTSIidx(256); }, "Attempt to set invalid TSIidx (256)"},
        {[] { PhysInEntry().setPHYIidx(64); }, "Cannot set PHYIidx invalid PHYIidx (64)"},
        {[] { PidMapEntry(7).setPIDidx(0); }, "Cannot set PIDix - invalid PIDidx (0)"},
        {[] { PidMapEntry(7).setRemapPID(8192); }, "Cannot set remap PID value - invalid PID value (8192)"},
        {[] { PidMapEntry(7).setNextPIDidx(7); }, "Cannot set NEXT PIDIX - invalid NEXT_PIDidx value (7)"},
        {[] { TsiMapEntry(7).setTSIidx(256); }, "Cannot set TSIidx - invalid TSIidx given (256)"},
        {[] { FilterTabEntry(7).setPacketCount(256); },
         "FilterTabEntry created/modified with invalid Packet count value (256)"},
    };
    for (const auto& [step, text] : cases)
        EXPECT_THAT(failureOf<ZebDriverError>(step), StartsWith(PREFIX + text + "(components/"));
}

TEST(EntriesTest, SomeSettersSwitchTheirFlagOn)
{
    IpInEntry ipIn;
    for (const auto& set :
         {+[](IpInEntry& entry) { entry.setTSIidx(1); }, +[](IpInEntry& entry) { entry.setIpAddress("1.2.3.4"); },
          +[](IpInEntry& entry) { entry.setUdpPort(1); }}) {
        ipIn.setStuffing();
        set(ipIn);
        EXPECT_TRUE(ipIn.isEnabled());
    }
    IpOutEntry ipOut;
    ipOut.setTSOidx(1);
    ipOut.setIpAddress(IP);
    ipOut.setMacAddress(MAC);
    EXPECT_FALSE(ipOut.isEnabled());
    ipOut.setUdpPort(1);
    EXPECT_TRUE(ipOut.isEnabled());
    PidMapEntry pidMap(7);
    pidMap.setTSOidx(1);
    pidMap.setNextPIDidx(8);
    EXPECT_FALSE(pidMap.isRemap());
    pidMap.setRemapPID(0x20);
    EXPECT_TRUE(pidMap.isRemap() && !pidMap.isEnabled());
}

TEST(EntriesTest, ComparisonsLookAtTheirFieldsOnly)
{
    const PidLutEntry base(3, 0x100, 7, 255, false, true);
    EXPECT_EQ(base, PidLutEntry(3, 0x100, 7, 255, true, true));
    for (const PidLutEntry& other :
         {PidLutEntry(4, 0x100, 7, 255, false, true), PidLutEntry(3, 0x101, 7, 255, false, true),
          PidLutEntry(3, 0x100, 8, 255, false, true), PidLutEntry(3, 0x100, 7, 254, false, true),
          PidLutEntry(3, 0x100, 7, 255, false, false)})
        EXPECT_FALSE(base == other);

    EXPECT_LT(IpInEntry(9, "239.0.0.1", 200), IpInEntry(1, "239.0.0.2", 100));
    EXPECT_LT(IpInEntry(9, "9.0.0.1", 200), IpInEntry(1, "10.0.0.1", 100));
    EXPECT_LT(IpInEntry(9, "239.0.0.1", 100), IpInEntry(1, "239.0.0.1", 200));
    EXPECT_FALSE(IpInEntry(1, "239.0.0.1", 100) < IpInEntry(9, "239.0.0.1", 100));

    EXPECT_EQ(IpOutEntry(3, MAC, IP, 1, true, true),
              IpOutEntry(3, MacAdrContainer(std::vector<uint8_t>(6)), IP, 1, false, false));
    EXPECT_FALSE(IpOutEntry(3, MAC, IP, 1, true, true) == IpOutEntry(4, MAC, IP, 1, true, true));
    EXPECT_FALSE(IpOutEntry(3, MAC, IP, 1, true, true) == IpOutEntry(3, MAC, IP, 2, true, true));
    EXPECT_LT(IpOutEntry(9, MAC, IP, 1, true, true), IpOutEntry(3, MAC, IP, 2, true, true));
}
