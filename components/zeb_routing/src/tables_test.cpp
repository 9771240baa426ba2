#include <osl/testing/fake_mem.h>
#include <osl/testing/random_routing.h>
#include <osl/testing/test.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/text.h>

#include <functional>

using namespace Osl::ZebRouting;

namespace {

/// Does something when a word is read.
class ActingMem : public FakeMem
{
public:
    using FakeMem::FakeMem;

    std::vector<uint32_t> readBlock32(uint32_t offset, uint32_t count) override
    {
        auto values = FakeMem::readBlock32(offset, count);
        if (after && (offset == 8192 || offset == 12288)) // the PID LUT
            after();
        return values;
    }

    std::function<void()> after;
};

} // namespace

// All words are literal, so that an error in the layouts cannot hide in both.
TEST(TablesTest, RowsAreReadFromTheActiveBanksAndPrintedExactly)
{
    ActingMem pid(0x8000);
    FakeMem io(0x1000);
    for (uint32_t port = 0; port < 64; ++port)
        io.words[128 + port] = 255;
    for (uint32_t row = 0; row < 4096; ++row) {
        pid.words[8192 + row * 2] = 0x001FFFFF;
        pid.words[8193 + row * 2] = 0xFF000FFF;
    }
    pid.words[129] = 1;
    pid.words[8192] = 0x00012100;       // in the other bank
    pid.words[12288] = 0x00012100;      // 9:0x0100
    pid.words[12289] = 0xFF003007;      // PIDIDX 7, OUT, CPU
    pid.words[256 + 9] = 0x1007;        // TSI MAP
    pid.words[512 + 12] = 20;           // FILTER TABLE
    pid.words[512 + 255] = 20;          // has no meaning
    pid.words[16384 + 14] = 0x00620003; // TSO 3 as PID 0x0200
    pid.words[16384 + 15] = 8;
    pid.words[16384 + 16] = 0x00400004; // TSO 4
    pid.words[16384 + 2 * 17] = 0x00400005;
    io.words[128] = 4;
    io.words[2048] = 0xEF010101;
    io.words[2049] = 0x010904D2;
    io.words[256 + 3] = 0x100;
    io.words[1024 + 12] = 0x0100;
    io.words[1024 + 13] = 0x5E020202;
    io.words[1024 + 14] = 0xEF020202;
    io.words[1024 + 15] = 0x31388;
    for (uint32_t tso = 0; tso < 256; ++tso)
        if (tso != 3)
            io.words[1024 + tso * 4 + 3] = 0xFFFF;

    int switches = 4; // back to the bank with the rows
    pid.after = [&] { pid.words[129] ^= switches-- > 0 ? 1 : 0; };
    const Source again = Source::of(Tables::read(pid, io));
    EXPECT_EQ(switches, -1);
    EXPECT_EQ(rowText(again.tables), R"(iplut 239.1.1.1:1234 tsi 9
physin 0 tsi 4
ipout 3 239.2.2.2:5000 mac 01:00:5e:02:02:02 rtp on
physout 3 port 0
filttab 12 20
pidlut 9:0x0100 pididx 7 out cpu filter 255
tsimap 9 pididx 7
opidmap 7 tso 3 pid 0x0200 next 8
opidmap 8 tso 4 next 0
opidmap 17 tso 5 next 0
)");
    EXPECT_EQ(toText(again.routing), R"(input 4 tuner0
input 9 239.1.1.1:1234
output 3 239.2.2.2:5000 rtp
output 3 modulator0
filter 12 count 20
route 9:0x0100 to 3:0x0200 4 cpu
route 9:* to 3:0x0200 4
list 17 to 5
)");
    EXPECT_TRUE(rowDifference(again.tables, Tables()).starts_with("-iplut 239.1.1.1:1234 tsi 9\n-physin 0 tsi 4\n"));
    pid.after = [&] { pid.words[129] ^= 1; };
    EXPECT_THROW(Tables::read(pid, io), RoutingError);
}
