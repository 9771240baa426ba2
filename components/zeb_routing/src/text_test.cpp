#include <osl/testing/test.h>
#include <osl/zeb_routing/json.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/trace.h>

using namespace Osl::ZebRouting;

namespace {

template <class Read>
std::string problemsOf(const Read& read, std::string_view text)
{
    try {
        read(text);
    } catch (const SourceError& error) {
        std::string all;
        for (const Problem& problem : error.problems())
            all += std::to_string(problem.line) + ": " + problem.text + "\n";
        return all;
    }
    return "";
}

constexpr std::string_view CANONICAL = R"(input 4 tuner0
input 9 10.0.0.1:1
input 9 239.1.1.1:1234
input 255 239.1.1.9:65535
output 3 239.2.2.2:5000 rtp
output 3 modulator0
output 5 239.2.2.9:5000 mac 01:00:5e:00:00:01 rtp off
output 6 10.0.0.1:5000 mac 00:11:22:aa:bb:cc
output 7 phys30
filter 12 count 20
filter 13 unit
route 9:0x0100 to 3:0x0200 4 cpu
route 9:0x0101 to 3 3:0x0000 cpu/12
route 9:0x1fff to drop
route 9:* to 5 6:0x1fff
list 17 to 3:0x0200 4
)";

} // namespace

TEST(StatementsTest, TheSameInEveryWriting)
{
    EXPECT_EQ(toText(parseText(CANONICAL)), CANONICAL);
    EXPECT_EQ(parseText("\xEF\xBB\xBFroute 9:257 to cpu/12\t3:0 3 # twice\r\n\n#\nroute 9:0x101 to 3\n"),
              parseText("route 9:0x0101 to 3 3:0x0000 cpu/12"));
    EXPECT_EQ(toJson(parseText("route 9:0x0102 to drop\nroute 9:* to 5\nlist 7 to 3:0x1ff")),
              R"({"inputs": [],
 "outputs": [],
 "filters": [],
 "routes": [
  {"tsi":9,"pid":258,"to":[]},
  {"tsi":9,"pid":null,"to":[{"tso":5}]}],
 "lists": [
  {"pididx":7,"to":[{"tso":3,"pid":511}]}]}
)");
    const Routing few = parseJson(R"({"inputs":[{"phys":"tuner3","tsi":1}],
        "outputs":[{"tso":3,"ip":"239.2.2.2","port":5000},{"tso":3,"phys":"scm7"}],
        "routes":[{"tsi":1,"pid":2,"to":[{"cpu":255}]}]})");
    EXPECT_EQ(toText(few), "input 1 tuner3\noutput 3 239.2.2.2:5000\noutput 3 scm7\nroute 1:0x0002 to cpu\n");
    EXPECT_FALSE(few.hasFilters);
}

TEST(StatementsTest, ADifferenceHasOneDestinationALine)
{
    const Difference found = difference(parseText("route 9:1 to 3 4\nfilter 1 unit\ninput 1 tuner0"),
                                        parseText("route 9:1 to 3:2 4 cpu\ninput 2 tuner0"));
    EXPECT_EQ(toText(found), "-input 1 tuner0\n-filter 1 unit\n-route 9:0x0001 to 3\n"
                             "+input 2 tuner0\n+route 9:0x0001 to 3:0x0002\n+route 9:0x0001 to cpu\n");
    EXPECT_THAT(toJson(found), HasSubstr(R"({"tsi":9,"pid":1,"to":[{"tso":3,"pid":2},{"cpu":255}]})"));
}

TEST(StatementsTest, EveryWrongLineIsTold)
{
    EXPECT_EQ(problemsOf(parseText, R"(routr 9:0x100 to 3
route 9:0x2000 to 3
route 9:0x100 too 3
route 9 to 3
route 9:* to cpu
route 255:0x1fff to 3
output 3 239.1.1.1:5000 rpt
output 3 239.1.1.1:5000 rtp mac 01:00:5e:00:00:01
output 3 10.1.1.1:5000
output 3 phys32
input 300 tuner0
input 3 tunr1
input 255 tuner3
filter 12 coutn 3
filter 255 unit
list 1 to
list 4096 to 3)"),
              R"(1: expected "input", "output", "filter", "route" or "list", found "routr"; did you mean "route"?
2: expected a PID (0..8191), found "0x2000"
3: expected "to" and where the packets go, found "too"
4: expected a TSI and a PID, as 9:0x0100, or a TSI and all its other PIDs, as 9:*, found "9"
5: expected a TSO, as 3 or 3:0x0200, and nothing else, found "cpu"
6: 255:0x1fff is what unused rows of the PID LUT look like; the FPGA cannot route it
7: expected "mac", "rtp", "off" or the end of the line, found "rpt"; did you mean "rtp"?
8: expected "off" or the end of the line, found "mac"
9: expected "mac" and the receiver's MAC address, which only a multicast address gives by itself, but the line ends
10: expected an address with a UDP port, as 239.1.1.1:1234, or a physical port, as modulator0, found "phys32"
11: expected a TSI (0..255), found "300"
12: expected an address with a UDP port, as 239.1.1.1:1234, or a physical port, as tuner0, found "tunr1"; did you mean "tuner1"?
13: a port that feeds TSI 255 is what an unused port looks like; choose another TSI
14: expected "count" and a number of packets, or "unit", found "coutn"; did you mean "count"?
15: expected a filter (0..254), found "255"
16: expected a TSO, as 3 or 3:0x0200, and nothing else, but the line ends
17: expected a list number (1..4095), found "4096"
)");
    std::string many;
    for (int i = 0; i < 100; ++i)
        many += "nonsense\n";
    EXPECT_THAT(problemsOf(parseText, many), HasSubstr("\n20: "));
    EXPECT_THAT(problemsOf(parseText, many), Not(HasSubstr("\n21: ")));
    EXPECT_THAT(problemsOf(parseText, std::string("a\x1b[1m", 5)), HasSubstr("\"a\\x1b[1m\""));
}

TEST(StatementsTest, AContradictionNamesBothLines)
{
    EXPECT_EQ(problemsOf(parseText, R"(input 4 tuner0
input 5 tuner0
input 4 239.1.1.1:1
input 4 239.1.1.1:2
input 6 239.1.1.1:2
output 3 239.1.1.1:1
output 3 modulator1
output 3 239.1.1.1:1 off
output 3 modulator2
filter 1 unit
filter 1 count 3
route 9:1 to cpu 3
route 9:1 to 4 cpu/1
route 9:2 to 3 drop
route 9:3 to drop
route 9:3 to 3 4)"),
              R"(2: tuner0: contradicts line 1; a port or a group feeds one TSI only
5: 239.1.1.1:2: contradicts line 4; a port or a group feeds one TSI only
8: TSO 3: contradicts line 6; a TSO goes to one address and to one port only
9: TSO 3: contradicts line 7; a TSO goes to one address and to one port only
11: filter 1: contradicts line 10; a filter has one value only
13: route 9:0x0001: contradicts line 12; a route goes to the processor through one filter only
14: route 9:0x0002: the line contradicts itself; what is dropped goes nowhere else
16: route 9:0x0003: contradicts line 15; what is dropped goes nowhere else
)");
}

TEST(StatementsTest, WrongJsonIsToldByLine)
{
    EXPECT_EQ(problemsOf(parseJson, R"({"inputs": [{"tsi":9},
 {"tsi":-1,"phys":"tuner0"}, {"tsi":1,"phys":"tunr0"},
 {"tsi":1,"phys":"tuner1","tsi":2}, 7],
 "outputs": [{"tso":1,"ip":"239.1.1.1","port":70000},
 {"tso":1,"ip":"239.1.1.1","port":7,
  "rtp":1}, {"tso":1,"ip":"239.1.1.1","prot":7}],
 "routes": [{"tsi":9,"pid":1,"to":[{"tso":3},
  {"tso":4,"pdi":3}]}, {"tsi":9,"pid":null,"to":[]}]})"),
              R"(1: "ip" is missing, an address, unless "phys" names a physical port
2: "tsi": expected a TSI (0..255), found -1
2: "phys": expected a physical port, as "tuner0", found "tunr0"; did you mean "tuner0"?
3: "tsi" stands here twice
3: "inputs": expected objects, found 7
4: "port": expected a UDP port (0..65535), found 70000
6: "rtp": expected true or false, found 1
6: "port" is missing, a UDP port (0..65535)
8: "pdi" has no place here; did you mean "pid"?
8: "to": expected an array with at least one destination, found an array
)");
    EXPECT_THAT(problemsOf(parseJson, "{\"inputs\": [],\n \"outputs\": ["), HasSubstr("2: no JSON: "));
    EXPECT_THAT(problemsOf(parseJson, R"({"input": []})"), HasSubstr(R"(found "input"; did you mean "inputs"?)"));
    for (const char* noObject : {"[]", "[[2", "2", "null"})
        EXPECT_THAT(problemsOf(parseJson, noObject), HasSubstr("1: expected an object"));
    EXPECT_THAT(problemsOf(parseJson, "{\"inputs\": " + std::string(100000, '[')), HasSubstr("nested deeper"));
}

TEST(SourceTest, SaysWhyForTheKindThatItLooksLike)
{
    const std::vector<uint8_t> bytes = Tables().toImage();
    std::string image(bytes.begin(), bytes.end());
    EXPECT_EQ(problemsOf(parseSource, image), "");
    image[3] ^= 1;
    EXPECT_EQ(problemsOf(parseSource, image), "0: a damaged table image: its check sum is wrong\n");
    image.pop_back();
    EXPECT_EQ(problemsOf(parseSource, image), "0: no table image, which has 57604 bytes, but 57603\n");
    EXPECT_THAT(problemsOf(parseSource, "\n {\"inputs\":1}"), HasSubstr("2: \"inputs\": expected an array"));
    EXPECT_THAT(problemsOf(parseSource, "inputs"), HasSubstr("1: expected \"input\""));
    std::string many;
    for (int i = 0; i < 2049; ++i)
        many += "route " + std::to_string(i % 16) + ":" + std::to_string(i / 16) + " to cpu\n";
    EXPECT_THROW(parseSource(many), RoutingError);
}

TEST(TraceTest, WordsOfACommand)
{
    EXPECT_EQ(parseTracePacket("9:0x100"), (Selector{9, 256}));
    EXPECT_EQ(parseTraceOutput("3").tso, 3);
    EXPECT_EQ(parseTraceOutput("3:256").pid, 256);
    EXPECT_THAT(problemsOf(parseTracePacket, "9:*"), HasSubstr("expected a TSI and a PID, as 9:0x0100, found"));
    EXPECT_THAT(problemsOf(parseTraceOutput, "3 4"), HasSubstr("expected the end of the line, found \"4\""));
}
