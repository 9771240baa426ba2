#include <osl/testing/section_maker.h>
#include <osl/testing/test.h>
#include <osl/ts_tables/stream_listener.h>

#include <string>
#include <vector>

using namespace Osl::Ts;

namespace {

Bytes bytesOf(const Packet& packet) { return {packet.bytes.begin(), packet.bytes.end()}; }

Section pat(const Bytes& programs, uint8_t version = 0) { return {0x00, 1, programs, version}; }
Bytes program(unsigned number, unsigned pid) { return word(number) + pidWord(pid); }
Section pmt(uint16_t service, unsigned pcrPid, const Bytes& descriptors, const Bytes& streams)
{
    return {0x02, service, pidWord(pcrPid) + counted(descriptors) + streams};
}
Bytes es(uint8_t type, unsigned pid, const Bytes& descriptors = {})
{
    return Bytes{type} + pidWord(pid) + counted(descriptors);
}
Bytes ca(unsigned system, unsigned pid) { return descriptor(0x09, word(system) + pidWord(pid)); }
Bytes sdtEntry(unsigned service, std::string_view provider, std::string_view name)
{
    const auto lengthAnd = [](std::string_view t) { return Bytes{static_cast<uint8_t>(t.size())} + text(t); };
    return word(service) + Bytes{0xFC} + counted(descriptor(0x48, Bytes{1} + lengthAnd(provider) + lengthAnd(name)));
}
Section sdt(const Bytes& services, uint16_t stream = 1) { return {0x42, stream, Bytes{0, 1, 0xFF} + services}; }

/// A listener that heard it all.
Contents contentsOf(const Bytes& stream)
{
    StreamListener listener(Hearing::EVERYTHING);
    for (std::size_t at = 0; at < stream.size(); at += TS_SIZE)
        listener.push(&stream[at]);
    return listener.contents();
}

const std::string NO_SDT = "note no-sdt: there is no SDT that names the services";

/// Of one kind only the first.
std::vector<std::string> faultsOf(const Bytes& stream)
{
    std::vector<std::string> texts;
    std::string lastCode;
    for (const Fault& fault : contentsOf(stream).faults) {
        if (fault.code != lastCode || fault.text.starts_with("and ") || fault.code == "pid-twice")
            texts.push_back((fault.note ? "note " : "") + fault.code + ": " + fault.text);
        lastCode = fault.code;
    }
    return texts;
}

/// A stream with one service, number 5, whose PMT on 0x100 has these streams.
SectionPacker oneService(const Bytes& streams, unsigned pcrPid = NULL_PID)
{
    SectionPacker packer;
    packer.add(0, pat(program(5, 0x100))).add(0x100, pmt(5, pcrPid, {}, streams)).add(0x11, sdt({}));
    return packer;
}

} // namespace

TEST(StreamListenerTest, TellsWhatIsInAStream)
{
    SectionPacker packer;
    packer.add(0, pat(program(0, 0x10) + program(1, 0x100) + program(2, 0x100) + program(3, 0x103)));
    packer.add(1, Section{0x01, 0xFFFF, ca(0x0500, 0x20)});
    packer.add(0x10, Section{0x40, 77, counted(descriptor(0x40, text("Netz"))) + counted({})});
    // Two sections that follow each other in a packet, of this stream and of another one.
    packer.add(0x11, sdt(sdtEntry(1, "Anstalt", "Eins") + sdtEntry(2, "", "Zwei")).bytes() +
                         Section{0x46, 9, Bytes{0, 1, 0xFF} + sdtEntry(1, "x", "y")}.bytes());
    packer.add(0x12, Section{0x4E, 1, Bytes(200)});
    packer.add(0x100,
               pmt(1, 0x201, ca(0x0500, 0x300),
                   es(0x1B, 0x201) + es(0x06, 0x202, descriptor(0x0A, text("deu\1fra\1")) + descriptor(0x6A, {0})) +
                       es(0x06, 0x203, descriptor(0x59, text("eng\x10....")) + ca(0x0600, 0x301)))
                       .bytes() +
                   pmt(2, 0x204, {}, es(0x06, 0x205, descriptor(0x05, text("Opus"))) + es(0xFE, 0x202)).bytes());
    packer.stream = packer.stream + bytesOf(Packet(0x201).pcr(0)) + bytesOf(Packet(0x201).pcr(270'000).counter(1)) +
                    bytesOf(Packet(0x202).scrambled()) + bytesOf(Packet(0x400).unit({0, 0, 1, 0xC0})) +
                    bytesOf(Packet(NULL_PID)) + bytesOf(Packet(0x204).pcr(1));
    Contents contents = contentsOf(packer.stream);
    // What only who listens at a board can tell; there it is not known from the packets.
    for (auto& [pid, traffic] : contents.pids)
        traffic.share.reset(), traffic.bitsPerSecond.reset();
    contents.pids[0x201].bitsPerSecond = 3.2e6;
    contents.pids[0x201].to = {"3:0x0200", "cpu"};
    contents.pids[0x202].to = std::vector<std::string>();
    EXPECT_EQ(toText(contents), R"(transport stream 1, network 77 "Netz"
service 1 "Eins" of "Anstalt", PCR on 0x0201
  0x0100 PMT
  0x0201 H.264 video, PCR, 3.20 Mbit/s, to 3:0x0200 cpu
  0x0202 AC-3 audio, deu/fra, scrambled, dropped
  0x0203 DVB subtitles, eng, silent
  0x0300 ECM of system 0x0500, silent
  0x0301 ECM of system 0x0600, silent
service 2 "Zwei", PCR on 0x0204
  0x0100 PMT
  0x0205 Opus audio, silent
  0x0202 unknown, scrambled, dropped
  0x0204, PCR
service 3
  0x0103 PMT, silent
tables
  0x0000 PAT
  0x0001 CAT
  0x0010 NIT
  0x0011 SDT, SDT of another stream
  0x0012 EIT
conditional access
  0x0020 EMM of system 0x0500, silent
named by no table
  0x0400 PES packets of audio
null packets
  0x1fff
faults
  pid-twice: PID 0x0202 is named as AC-3 audio of service 1 and as unknown of service 2
  pmt-silent: service 3: nothing came on its PMT PID 0x0103
  note silent: service 1: nothing came on PID 0x0203, DVB subtitles
  note silent: service 2: nothing came on PID 0x0205, Opus audio
)");
}

TEST(StreamListenerTest, StreamsThatLieAreToldSo)
{
    const Bytes good = pat(program(5, 0x100)).bytes();
    Bytes wrongSum = good;
    wrongSum.back() ^= 1;
    SectionPacker flapping;
    for (uint8_t n = 0; n < 6; ++n)
        flapping.add(0, pat({}, n % 2));
    const Bytes video = es(0x1B, 0x201);
    const Section tooLongInside{0x02, 5, pidWord(0x201) + word(0xFFFF) + video};
    const Section cutDescriptor{0x02, 5, pidWord(0x201) + counted({}) + es(0x1B, 0x201, {0x0A, 5, 'd'})};

    const struct
    {
        const char* what;
        Bytes stream;
        std::vector<std::string> faults;
    } CASES[]{
        {"nothing", {}, {"no-pat: no PAT came"}},
        {"check sum",
         SectionPacker().add(0, wrongSum).stream,
         {"damaged: PID 0x0000: 1 sections are cut or have a wrong check sum", "no-pat: no whole PAT came"}},
        {"section_length 4,095",
         SectionPacker().add(0, Bytes{0, 0xBF, 0xFF} + Bytes(4095)).stream,
         {"damaged: PID 0x0000: 1 sections are cut or have a wrong check sum", "no-pat: no whole PAT came"}},
        {"a section without room for a table",
         SectionPacker().add(0, Bytes{0, 0xB0, 4} + checkSum(Bytes{0, 0xB0, 4})).stream,
         {"damaged: PID 0x0000: 1 sections have lengths inside that do not fit", "no-pat: no whole PAT came"}},
        {"pointer behind the packet",
         bytesOf(Packet(0).unit({183})),
         {"damaged: PID 0x0000: 1 sections are cut or have a wrong check sum", "no-pat: no whole PAT came"}},
        {"a section that another one cuts, then one that is whole",
         SectionPacker()
             .add(0, Bytes{0, 0xB3, 0xFF} + Bytes(300))
             .add(0, good)
             .add(0x100, pmt(5, NULL_PID, {}, {}))
             .stream,
         {"damaged: PID 0x0000: 1 sections are cut or have a wrong check sum", NO_SDT}},
        {"lengths inside a PMT",
         oneService(video).add(0x100, tooLongInside).add(0x100, cutDescriptor).stream,
         {"damaged: PID 0x0100: 2 sections have lengths inside that do not fit",
          "note silent: service 5: nothing came on PID 0x0201, H.264 video"}},
        {"one section of three",
         SectionPacker().add(0, Section{0, 1, {}, 0, 1, 2}).stream,
         {"incomplete: of the PAT came 1 of 3 sections"}},
        {"a table that is only announced",
         SectionPacker().add(0, Section{0, 1, {}, 0, 0, 0, false}).stream,
         {"no-pat: no whole PAT came"}},
        {"two tables that take turns", flapping.stream, {"unstable: the PAT changed 5 times"}},
        {"a service twice",
         SectionPacker().add(0, pat(program(5, 0x100) + program(5, 0x101))).stream,
         {"pmt-silent: service 5: nothing came on its PMT PID 0x0100",
          "service-twice: the PAT names service 5 with two PMT PIDs, 0x0100 and 0x0101", NO_SDT}},
        {"PIDs twice",
         oneService(video + video + es(3, 0x100)).stream,
         {"pid-twice: service 5 names PID 0x0201 twice",
          "pid-twice: PID 0x0100 is named as PMT of service 5 and as MPEG-1 audio of service 5",
          "note silent: service 5: nothing came on PID 0x0201, H.264 video"}},
        {"a PMT of another service",
         SectionPacker().add(0, good).add(0x100, pmt(6, NULL_PID, {}, {})).stream,
         {"no-pmt: service 5: its PMT did not come on PID 0x0100", NO_SDT}},
        {"an SDT of another stream",
         oneService({}).add(0x11, sdt({}, 2)).stream,
         {"stream-id: the SDT speaks of transport stream 2, the PAT of 1"}},
        {"ECMs without CAT",
         SectionPacker().add(0, good).add(0x100, pmt(5, NULL_PID, ca(1, 0x300), {})).stream,
         {"note no-cat: services name ECMs, but there is no CAT", NO_SDT}},
        {"no PCR",
         oneService(video, 0x201).stream + bytesOf(Packet(0x201)),
         {"no-pcr: service 5: no PCR came on PID 0x0201"}},
        {"packets",
         oneService(video).stream + bytesOf(Packet(0x201)) + bytesOf(Packet(0x201).counter(5)) + Bytes(TS_SIZE) +
             bytesOf([] {
                 Packet faulty(0x201);
                 faulty.bytes[1] |= 0x80;
                 return faulty;
             }()),
         {"continuity: PID 0x0201: the continuity counter jumped 1 times",
          "no-sync: 1 of 7 packets do not start with the sync byte",
          "transport-error: PID 0x0201: 1 packets are marked as faulty"}},
    };
    for (const auto& one : CASES)
        EXPECT_EQ(faultsOf(one.stream), one.faults) << one.what;
}

TEST(StreamListenerTest, OnlySoMuchIsTakenFromTables)
{
    SectionPacker packer; // 9,108 services
    for (uint8_t n = 0; n < 36; ++n) {
        Bytes programs;
        for (unsigned entry = 0; entry < 253; ++entry)
            programs = programs + program(1 + n * 253U + entry, 0x100);
        packer.add(0, Section{0, 1, programs, 0, n, 35});
    }
    EXPECT_EQ(contentsOf(packer.stream).services.size(), 8192U);
    EXPECT_THAT(faultsOf(packer.stream),
                ElementsAre("pmt-silent: service 1: nothing came on its PMT PID 0x0100",
                            "pmt-silent: and 8172 more of this kind",
                            "too-much: the tables name more than 8192 services or 65536 streams; the rest is left out",
                            NO_SDT));
}

TEST(StreamListenerTest, WhatIsNotListenedToIsNoFault)
{
    StreamListener listener(Hearing::NOTHING);
    const auto push = [&listener](const Bytes& stream) {
        bool isNew = false;
        for (std::size_t at = 0; at < stream.size(); at += TS_SIZE)
            isNew = listener.push(&stream[at]) || isNew;
        return isNew;
    };
    EXPECT_THAT(listener.contents().faults, IsEmpty());
    EXPECT_THAT(listener.tablePids(), ElementsAre(0, 1, 0x10, 0x11));
    listener.hear(0, Hearing::EVERYTHING);
    const Bytes stream = oneService(es(0x1B, 0x201), 0x202).stream;
    EXPECT_TRUE(push(stream));
    EXPECT_FALSE(push(stream)); // the same again
    EXPECT_THAT(listener.tablePids(), ElementsAre(0, 1, 0x10, 0x11, 0x100));
    EXPECT_THAT(listener.namedPids(), ElementsAre(0, 1, 0x10, 0x11, 0x100, 0x201, 0x202));
    EXPECT_THAT(toText(listener.contents()), HasSubstr("0x0201 H.264 video, not listened to\n"));
    // Some of the packets only, then nothing for a while, then all.
    listener.hear(0x201, Hearing::SAMPLES);
    push(bytesOf(Packet(0x201)) + bytesOf(Packet(0x201).counter(7)));
    listener.hear(0x201, Hearing::EVERYTHING);
    push(bytesOf(Packet(0x201).counter(12)) + bytesOf(Packet(0x201).counter(13)));
    EXPECT_THAT(toText(listener.contents()), Not(HasSubstr("jumped")));
    push(bytesOf(Packet(0x201).counter(15)));
    EXPECT_THAT(toText(listener.contents()),
                HasSubstr("continuity: PID 0x0201: the continuity counter jumped 1 times"));
}
