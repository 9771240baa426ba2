#include <osl/testing/test.h>
#include <osl/zeb_routing/check.h>
#include <osl/zeb_routing/graph.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

using namespace Osl::ZebRouting;
namespace Zeb = Osl::Drivers::Zeb;

namespace {

std::string findingsOf(std::string_view statements)
{
    const Routing routing = parseText(statements);
    return toText(check({compile(routing), routing}));
}

} // namespace

TEST(CheckTest, FindsWhatIsWrongWithFacts)
{
    EXPECT_EQ(findingsOf("input 1 tuner0\noutput 1 239.1.1.1:1\nroute 1:* to 1\nroute 1:1 to drop"), "");
    EXPECT_EQ(
        findingsOf("input 1 tuner0\noutput 2 239.1.1.1:1\noutput 3 239.1.1.2:1 off\nroute 1:1 to 3\nroute 2:1 to 3:2"),
        "no-output: TSO 3 has no enabled output; routed there: 1:0x0001 and 2:0x0001\n"
        "note unreached-output: nothing is routed to TSO 2, 239.1.1.1:1\n"
        "note no-input: TSI 2 has no input, unless DMA feeds it; its routes: 2:0x0001\n");
    const std::string base = "input 1 tuner0\ninput 2 tuner1\noutput 3 modulator0\n";
    EXPECT_EQ(findingsOf(base + "route 1:5 to 3\nroute 2:6 to 3:5"),
              "pid-clash: PID 0x0005 of TSO 3 comes from 1:0x0005 and 2:0x0006\n");
    EXPECT_EQ(findingsOf(base + "route 1:5 to 3\nroute 2:* to 3"),
              "pid-clash: PID 0x0005 of TSO 3 comes from 1:0x0005 and 2:*\n");
    EXPECT_EQ(findingsOf(base + "route 1:5 to 3\nroute 2:* to 3\nroute 2:5 to drop"), "");
    EXPECT_EQ(findingsOf(base + "route 1:* to 3\nroute 2:* to 3"),
              "pid-clash: the same PIDs of TSO 3 come from 1:* and 2:*\n");
    EXPECT_EQ(findingsOf(base + "route 1:* to 3:7"), "pid-clash: PID 0x0007 of TSO 3 comes from every PID of 1:*\n");
    EXPECT_EQ(findingsOf(base + "route 1:5 to 3 3:5"),
              "double-copy: 1:0x0005 goes to TSO 3 as it is, and as PID 0x0005, which is the same\n");
    EXPECT_EQ(findingsOf("input 1 239.1.1.1:1\noutput 1 239.1.1.1:1\noutput 2 239.1.1.1:1\nlist 1 to 1 2"),
              "same-group: TSO 1 and TSO 2 send to 239.1.1.1:1\n"
              "circle: 239.1.1.1:1 is the input of TSI 1 and the output of TSO 1 and TSO 2\n");
    EXPECT_EQ(findingsOf(base + "list 1 to 3\nfilter 2 unit\nroute 1:1 to cpu/1\nroute 1:2 to cpu/2"),
              "filter-none: filter 1 is not set and lets nothing through; used by 1:0x0001\n");
    EXPECT_EQ(findingsOf("input 1 10.0.0.1:1\noutput 1 10.0.0.2:1 mac 00:00:00:00:00:01\nroute 1:1 to 1"),
              "not-multicast: 10.0.0.1:1, which feeds TSI 1, is no multicast address\n"
              "not-multicast: 10.0.0.2:1, where TSO 1 sends to, is no multicast address\n");
}

TEST(CheckTest, FindsWhatIsWrongWithRows)
{
    Tables tables = compile(parseText("input 1 tuner0\noutput 3 modulator0\noutput 4 modulator1"));
    const auto setRow = [&](const Zeb::TableLayout& table, uint32_t row, std::vector<uint32_t> words) {
        tables.setRow(table, row, words);
    };
    setRow(Zeb::O_PID_MAP, 7, {0x00400003, 8}); // 7 -> 8 -> 9 -> 8
    setRow(Zeb::O_PID_MAP, 8, {0x00400004, 9});
    setRow(Zeb::O_PID_MAP, 9, {0x00400003, 8});
    setRow(Zeb::PID_LUT, 0, {1 << 13 | 2, 0xFF001007});
    setRow(Zeb::PID_LUT, 1, {1 << 13 | 1, 0xFF001000});
    setRow(Zeb::PID_LUT, 3, {1 << 13 | 2, 0xFF001014});
    setRow(Zeb::IP_LUT, 1, {0xEF010101, 0x01010001});
    setRow(Zeb::TSI_MAP, 1, {0x1015});
    EXPECT_EQ(toText(check(Source::of(tables))),
              "double-copy: the list from PIDIDX 7, used by 1:0x0002, leads twice to TSO 3\n"
              "list-loop: the list from PIDIDX 7, used by 1:0x0002, comes back to one of its rows\n"
              "list-empty: the list from PIDIDX 0, used by 1:0x0001, has no enabled row\n"
              "list-empty: the list from PIDIDX 20, used by 1:0x0002, has no enabled row\n"
              "list-empty: the list from PIDIDX 21, used by 1:*, has no enabled row\n"
              "unsorted: PID LUT: row 1, 1:0x0001, belongs before row 0, 1:0x0002; the FPGA, which searches by "
              "bisection, may miss rows\n"
              "doubled-row: PID LUT: rows 0 and 3 are both for 1:0x0002\n"
              "unsorted: IP LUT: there are unused rows before used ones; the FPGA, which searches by bisection, may "
              "miss rows\n");
    EXPECT_EQ(toText(factsOf(tables)), "input 1 239.1.1.1:1\ninput 1 tuner0\noutput 3 modulator0\noutput 4 modulator1\n"
                                       "route 1:0x0001 to drop\nroute 1:0x0002 to 3 4\n");
}

TEST(GraphTest, OneEdgeForAllPidsOfAWay)
{
    const std::string graph =
        toGraph(parseText("input 1 tuner0\noutput 3 239.1.1.1:5 off\nroute 1:1 to 3\nroute 1:2 to 3\n"
                          "route 1:3 to 3:9 cpu\nroute 2:4 to drop\nlist 7 to 4:1\nroute 1:* to 3"));
    for (const char* line :
         {R"(  tsi1 [label="{tuner0|TSI 1}"];)", R"(  tsi2 [label="{no input|TSI 2}", color)",
          R"(  tso3 [label="{TSO 3|239.1.1.1:5 (off)}"];)", R"(  tsi1 -> cpu [label="0x0003", color)",
          R"(  tsi1 -> tso3 [label="0x0001-0x0002, 0x0003 as 0x0009 and *", color)",
          R"(  tsi2 -> drop [label="0x0004", color)", R"(  list7 -> tso4 [label="as 0x0001"];)"})
        EXPECT_THAT(graph, HasSubstr(line));
}
