#include <osl/testing/failure_of.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <tuple>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;
using Osl::CppUtil::IpAdrContainer;
using Osl::CppUtil::MacAdrContainer;
using Osl::Drivers::Misc::BitField;
using Osl::Testing::failureOf;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

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

TEST(EntriesTest, FieldsLieWhereTheFpgaExpectsThem)
{
    EXPECT_THAT(PidLutEntry(3, 0x100, 7, 255, false, true).getWords(), ElementsAre(0x00006100, 0xFF002007));
    EXPECT_THAT(PidLutEntry(255, 0, 4095, 1, true, false).getWords(), ElementsAre(0x001FE000, 0x01001FFF));
    EXPECT_THAT(IpInEntry(2, "239.192.0.42", 5000).getWords(), ElementsAre(0xEFC0002A, 0x01021388));
    EXPECT_THAT(IpOutEntry(9, MAC, IP, 5000, true, false).getWords(),
                ElementsAre(0x00000100, 0x5E123456, 0xEFC0002A, 0x00011388));
    EXPECT_THAT(IpOutEntry(9, MAC, IP, 5000, false, true).getWords().back(), 0x00021388);
    EXPECT_THAT(PhysInEntry(40, 5).getWords(), ElementsAre(5));
    EXPECT_THAT(PhysOutEntry(7, 31, true).getWords(), ElementsAre(0x11F));
    EXPECT_THAT(PidMapEntry(7, 2, 8, 0x20, false, true).getWords(), ElementsAre(0x00402002, 8));
    EXPECT_THAT(PidMapEntry(7, 0, 4095, 8191, true, false).getWords(), ElementsAre(0x003FFF00, 0xFFF));
    EXPECT_THAT(TsiMapEntry(1, 0x123, true).getWords(), ElementsAre(0x1123));
    EXPECT_THAT(FilterTabEntry(254, 255).getWords(), ElementsAre(255));
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

    // Without and with an index.
    EXPECT_THAT(
        (std::array<uint32_t, 5>{IpOutEntry().getTSOidx(), PhysInEntry().getPHYIidx(), PhysOutEntry().getTSOidx(),
                                 PidMapEntry().getPIDidx(), TsiMapEntry().getTSIidx()}),
        ElementsAre(255, 31, 255, 4095, 255));
    EXPECT_THAT((std::array<uint32_t, 6>{IpOutEntry(3).getTSOidx(), PhysInEntry(3).getPHYIidx(),
                                         PhysOutEntry(3).getTSOidx(), PidMapEntry(3).getPIDidx(),
                                         TsiMapEntry(3).getTSIidx(), FilterTabEntry(3).getFILTTABIDX()}),
                Each(3));

    IpOutEntry used(3, MAC, IP, 5000, true, true);
    used.setStuffing();
    EXPECT_EQ(used.getWords(), IpOutEntry().getWords());
    PidMapEntry mapped(7, 2, 8, 0x20, true, true);
    mapped.setStuffing();
    EXPECT_EQ(mapped.getWords(), PidMapEntry().getWords());
}

/// One kind of entry, with the bits that its row uses.
template <class EntryKind, class FieldsOfKind, uint32_t... USED>
struct Kind
{
    using Entry = EntryKind;
    using Fields = FieldsOfKind;
    static inline const Words USED_BITS{USED...};
};

template <class T>
class EntryKindTest : public testing::Test
{
};

using EntryKinds =
    testing::Types<Kind<IpInEntry, IpInFields, 0xFFFFFFFF, 0x01FFFFFF>,
                   Kind<IpOutEntry, IpOutFields, 0x0000FFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0x0003FFFF>,
                   Kind<PhysInEntry, PhysInFields, 0x000000FF>, Kind<PhysOutEntry, PhysOutFields, 0x000001FF>,
                   Kind<PidLutEntry, PidLutFields, 0x001FFFFF, 0xFF003FFF>,
                   Kind<PidMapEntry, PidMapFields, 0x007FFFFF, 0x00000FFF>, Kind<TsiMapEntry, TsiMapFields, 0x00001FFF>,
                   Kind<FilterTabEntry, FilterTabFields, 0xFFFFFFFF>>;
TYPED_TEST_SUITE(EntryKindTest, EntryKinds);

TYPED_TEST(EntryKindTest, EveryFieldSurvivesDecodingAndPackingAloneAndBesideFullNeighbours)
{
    for (const BitField& field : TypeParam::Fields::ALL) {
        for (const uint32_t value : {uint32_t{0}, uint32_t{1}, field.max()}) {
            for (const Words& neighbours : {Words(TypeParam::USED_BITS.size()), TypeParam::USED_BITS}) {
                Words words = neighbours;
                field.put(words, value);
                EXPECT_EQ(decoded<typename TypeParam::Entry>(words).getWords(), words) << field.name;
            }
        }
    }
}

TYPED_TEST(EntryKindTest, BitsWithoutAFieldAreIgnoredAndWrittenAsZero)
{
    EXPECT_EQ(decoded<typename TypeParam::Entry>(Words(TypeParam::USED_BITS.size(), 0xFFFFFFFF)).getWords(),
              TypeParam::USED_BITS);
}

TYPED_TEST(EntryKindTest, OtherNumbersOfWordsAreRefusedAndChangeNothing)
{
    typename TypeParam::Entry entry;
    const Words before = entry.getWords();
    EXPECT_EQ(entry.getWordCount(), TypeParam::USED_BITS.size());
    for (const std::size_t count : {std::size_t{0}, before.size() - 1, before.size() + 1})
        EXPECT_THAT(failureOf<InvalidArgumentError>([&] { entry.setFromWords(Words(count)); }),
                    StartsWith("Invalid Argument Error: Incorrect length of serialized data buffer("));
    EXPECT_EQ(entry.getWords(), before);
}

TEST(EntriesTest, GettersSeeTheDecodedRow)
{
    const auto pidLut = decoded<PidLutEntry>({0x00006100, 0x05001007});
    EXPECT_EQ(std::tuple(pidLut.getTSIIDX(), pidLut.getPID(), pidLut.getPIDIDX(), pidLut.getFiltTabIDX()),
              std::tuple(3, 0x100, 7, 5));
    EXPECT_TRUE(pidLut.isOutRoute() && !pidLut.isCpuRoute());
    const auto ipIn = decoded<IpInEntry>({0xEFC0002A, 0x01021388});
    EXPECT_EQ(std::tuple(ipIn.getIpAddress().toString(), ipIn.getUdpPort(), ipIn.getTSIidx(), ipIn.isEnabled()),
              std::tuple("239.192.0.42", 5000, 2, true));
    const auto ipOut = decoded<IpOutEntry>({0x00000100, 0x5E123456, 0xEFC0002A, 0x00011388});
    EXPECT_EQ(std::tuple(ipOut.getMacAddress(), ipOut.getIpAddress(), ipOut.getUdpPort()), std::tuple(MAC, IP, 5000));
    EXPECT_TRUE(ipOut.isRtp() && !ipOut.isEnabled());
    const auto pidMap = decoded<PidMapEntry>({0x00602002, 8});
    EXPECT_EQ(std::tuple(pidMap.getPIDidx(), pidMap.getTSOidx(), pidMap.getRemapPID(), pidMap.getNextPIDidx()),
              std::tuple(4095, 2, 0x20, 8));
    EXPECT_TRUE(pidMap.isRemap() && pidMap.isEnabled());
    const auto physOut = decoded<PhysOutEntry>({0x1FF});
    EXPECT_EQ(std::tuple(physOut.getPHYOidx(), physOut.isEnabled()), std::tuple(255, true));
    const auto tsiMap = decoded<TsiMapEntry>({0x00001FFF});
    EXPECT_EQ(std::tuple(tsiMap.getPIDidx(), tsiMap.isEnabled()), std::tuple(4095, true));
    EXPECT_EQ(decoded<PhysInEntry>({0xFFFFFF05}).getTSIidx(), 5);
    EXPECT_EQ(decoded<FilterTabEntry>({0x12345678}).getPacketCount(), 0x12345678U);
}

TEST(EntriesTest, RangeEndsAreAccepted)
{
    EXPECT_NO_THROW(PidLutEntry(0, 0, 1, 0, false, false));
    EXPECT_NO_THROW(PidLutEntry(255, 8191, 4095, 255, true, true));
    EXPECT_NO_THROW(IpInEntry(0, "0.0.0.0", 0));
    EXPECT_NO_THROW(IpInEntry(255, "255.255.255.255", 65535));
    EXPECT_NO_THROW(IpOutEntry(0, MAC, IP, 0, false, false));
    EXPECT_NO_THROW(PhysInEntry(0, 0));
    EXPECT_NO_THROW(PhysInEntry(63, 255));
    EXPECT_NO_THROW(PhysOutEntry(0, 0, true));
    EXPECT_NO_THROW(PidMapEntry(1, 0, 0, 0, false, false));
    EXPECT_NO_THROW(PidMapEntry(4095, 255, 4094, 8191, false, false));
    EXPECT_NO_THROW(TsiMapEntry(0, 1, false));
    EXPECT_NO_THROW(FilterTabEntry(255, 255));
}

// The commands' tests show the texts of all other ranges.
TEST(EntriesTest, ConstructorsNameTheFirstFieldThatIsOutOfRange)
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
    };
    for (const auto& [step, text] : cases)
        EXPECT_THAT(failureOf<ZebDriverError>(step), StartsWith(PREFIX + text + "(components/"));
}

TEST(EntriesTest, SettersRefuseValuesOutsideTheRangeAndLeaveTheEntryAsItWas)
{
    const auto refuses = [](auto entry, auto setter, const auto& value, const std::string& text) {
        const Words before = entry.getWords();
        EXPECT_THAT(failureOf<ZebDriverError>([&] { (entry.*setter)(value); }), StartsWith(PREFIX + text + "("));
        EXPECT_EQ(entry.getWords(), before) << text;
    };
    refuses(PidLutEntry(), &PidLutEntry::setPID, 0x10000U, "PidLutEntry created/modified with invalid PID (65536)");
    refuses(PidLutEntry(), &PidLutEntry::setFiltTabIDX, 0xFFFFFFFFU,
            "PidLutEntry created/modified with invalid FiltTabIDX (4294967295)");
    refuses(IpInEntry(), &IpInEntry::setIpAddress, "nix", "Attempt to set invalid IP address (nix)");
    refuses(IpInEntry(), &IpInEntry::setUdpPort, 65536U, "Attempt to set invalid UDP port (65536)");
    refuses(PhysInEntry(), &PhysInEntry::setPHYIidx, 64U, "Cannot set PHYIidx invalid PHYIidx (64)");
    refuses(PhysOutEntry(), &PhysOutEntry::setPHYOidx, 255U, "Cannot create PhysOutEntry - invalid PHYOidx (255)");
    refuses(PidMapEntry(7), &PidMapEntry::setPIDidx, 4096U, "Cannot set PIDix - invalid PIDidx (4096)");
    refuses(PidMapEntry(7), &PidMapEntry::setRemapPID, 8192U, "Cannot set remap PID value - invalid PID value (8192)");
    refuses(TsiMapEntry(7), &TsiMapEntry::setTSIidx, 256U, "Cannot set TSIidx - invalid TSIidx given (256)");
}

TEST(EntriesTest, SomeSettersSwitchTheirFlagOn)
{
    const auto flagAfter = [](auto entry, auto setter, const auto& value, auto flag) {
        EXPECT_FALSE((entry.*flag)());
        (entry.*setter)(value);
        return (entry.*flag)();
    };
    EXPECT_TRUE(flagAfter(IpInEntry(), &IpInEntry::setTSIidx, 1U, &IpInEntry::isEnabled));
    EXPECT_TRUE(flagAfter(IpInEntry(), &IpInEntry::setIpAddress, "1.2.3.4", &IpInEntry::isEnabled));
    EXPECT_TRUE(flagAfter(IpInEntry(), &IpInEntry::setUdpPort, 1U, &IpInEntry::isEnabled));
    EXPECT_TRUE(flagAfter(IpOutEntry(), &IpOutEntry::setUdpPort, 1U, &IpOutEntry::isEnabled));
    EXPECT_FALSE(flagAfter(IpOutEntry(), &IpOutEntry::setTSOidx, 1U, &IpOutEntry::isEnabled));
    EXPECT_FALSE(flagAfter(IpOutEntry(), &IpOutEntry::setIpAddress, IP, &IpOutEntry::isEnabled));
    EXPECT_FALSE(flagAfter(IpOutEntry(), &IpOutEntry::setMacAddress, MAC, &IpOutEntry::isEnabled));
    EXPECT_TRUE(flagAfter(PidMapEntry(7), &PidMapEntry::setRemapPID, 0x20U, &PidMapEntry::isRemap));
    EXPECT_FALSE(flagAfter(PidMapEntry(7), &PidMapEntry::setRemapPID, 0x20U, &PidMapEntry::isEnabled));
    EXPECT_FALSE(flagAfter(PidMapEntry(7), &PidMapEntry::setTSOidx, 1U, &PidMapEntry::isRemap));
    EXPECT_FALSE(flagAfter(PidMapEntry(7), &PidMapEntry::setNextPIDidx, 8U, &PidMapEntry::isRemap));
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
