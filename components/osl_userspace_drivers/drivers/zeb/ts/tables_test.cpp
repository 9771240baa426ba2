// What holds for every table: a new one is tested by being declared.

#include <osl/testing/fake_mem.h>
#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers/drivererror.h>
#include <osl/userspace_drivers/drivers/zeb/scm/scmlayout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/table_readout.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tablelayout.h>
#include <osl/userspace_drivers/drivers/zeb/zeb_devices.h>

#include <fmt/format.h>

#include <map>
#include <random>
#include <sstream>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::InvalidArgumentError;
using Osl::Drivers::DevMemError;
using Osl::Drivers::MemAccessType;

namespace {

using Words = std::vector<uint32_t>;
using Operation = FakeMem::Operation;

std::vector<const TableLayout*> allTables()
{
    std::vector<const TableLayout*> tables(ROUTING_TABLES.begin(), ROUTING_TABLES.end());
    tables.push_back(&SCM_PID_LUT);
    return tables;
}

class TablesTest : public testing::TestWithParam<const TableLayout*>
{
protected:
    /// Words of a row with these values of its fields' bits, 0 or all ones elsewhere.
    Words rowOf(const Field& field, uint32_t value, bool onesElsewhere) const
    {
        FieldEntry row(T);
        row.setFromWords(Words(T.wordsPerRow, onesElsewhere ? ~0U : 0));
        Words words = row.getWords();
        field.at.put(words, value);
        return words;
    }
    std::string printed(const RowSelection& selection)
    {
        std::ostringstream out;
        printTable(m_Mem, T, selection, out);
        return out.str();
    }
    void fillWith(const Words& row)
    {
        for (const uint32_t base : T.activeBase)
            for (uint32_t i = 0; i < T.words(); ++i)
                m_Mem.words[base + i] = row[i % T.wordsPerRow];
    }

    const TableLayout& T = *GetParam();
    FakeMem m_Mem{PIDLUT_DEVICE.mapSize / 4};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(All, TablesTest, testing::ValuesIn(allTables()));

TEST_P(TablesTest, EveryFieldIsPackedDecodedAndLimitedAtItsEnds)
{
    for (const Field& field : T.fields) {
        FieldEntry row(T);
        const uint32_t max = std::min(field.max, field.at.max());
        for (const uint32_t value : {field.min, max}) {
            row.set(field, value);
            EXPECT_EQ(row.get(field), value) << field.at.name;
            if (!field.switchesOn.empty()) {
                EXPECT_EQ(row.get(*T.find(field.switchesOn)), 1U) << field.at.name;
            }
        }
        const Words before = row.getWords();
        const uint32_t beyond[] = {field.min - 1, max + 1};
        for (const uint32_t value : beyond) {
            if (field.accepts(value)) // there is nothing beyond 0 or all ones of 32 bits
                continue;
            const std::string refusal = failureOf<ZebDriverError>([&] { row.set(field, value); });
            const std::string told = field.refusal.ends_with('(') ? fmt::format("{})", value) : "";
            EXPECT_THAT(refusal, StartsWith(fmt::format("Driver (user space) error: ZEB Driver (user space) error: "
                                                        "{}{}(components/",
                                                        field.refusal, told)));
            EXPECT_EQ(row.getWords(), before) << field.at.name;
            EXPECT_EQ(row.get(field), max) << field.at.name;
        }
        if (!field.isStored())
            continue;
        for (const bool ones : {false, true})
            for (const uint32_t value : {0U, 1U, field.at.max()}) {
                const Words words = rowOf(field, value, ones);
                row.setFromWords(words);
                EXPECT_EQ(row.get(field), value) << field.at.name;
                EXPECT_EQ(row.getWords(), words) << field.at.name;
            }
    }
    FieldEntry row(T);
    const Words stuffing = row.getWords();
    EXPECT_TRUE(row.isUnused());
    for (const std::size_t count : {std::size_t{0}, stuffing.size() - 1, stuffing.size() + 1})
        EXPECT_THAT(failureOf<InvalidArgumentError>([&] { row.setFromWords(Words(count)); }),
                    StartsWith("Invalid Argument Error: Incorrect length of serialized data buffer("));
    EXPECT_EQ(row.getWords(), stuffing);
    row.setFromWords(Words(T.wordsPerRow, 0x5A5A5A5A));
    row.setStuffing();
    EXPECT_EQ(row.getWords(), stuffing);
}

TEST_P(TablesTest, RowsNotInUseAreShownOnRequestAndOneTellingFieldBringsARowIntoUse)
{
    fillWith(FieldEntry(T).getWords());
    const RowSelection all{T.firstRow, T.rows - T.firstRow, false, true};
    EXPECT_EQ(printed({all.offset, all.count, false, false}), "");
    const std::string lines = printed(all);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), all.count);
    for (const Field& field : T.fields) {
        FieldEntry row(T);
        Words words = row.getWords();
        if (!field.isStored())
            continue;
        field.at.put(words, field.stuffing ^ 1);
        fillWith(words);
        EXPECT_EQ(printed({T.rows - 1, 1, false, false}).empty(), !field.tellsUse) << field.at.name;
    }
}

TEST_P(TablesTest, RowsBeyondTheTableAreRefusedBeforeAnyAccess)
{
    const auto refusal = [this](uint32_t offset, uint32_t count) {
        return failureOf<InvalidArgumentError>([&] { printed({offset, count, false, true}); });
    };
    const std::pair<uint32_t, uint32_t> beyond[] = {{T.rows - 1, 2}, {T.rows + 1, 0}, {0xFFFFFFFF, 2}, {1, 0xFFFFFFFF}};
    for (const auto& [offset, count] : beyond)
        EXPECT_THAT(refusal(offset, count),
                    StartsWith(fmt::format("Invalid Argument Error: Offset ({}) and count ({}) exceeds the size ({}) "
                                           "of the ZEB {}.(",
                                           offset, count, T.rows, T.name)));
    if (T.firstRow != 0) {
        EXPECT_THAT(refusal(0, 5000), StartsWith("Invalid Argument Error: Offset value 0 is not permitted in the ZEB "
                                                 "O-PID MAP, since this is a reserved value.("));
    }
    EXPECT_TRUE(m_Mem.log.empty());
    EXPECT_EQ(printed({T.rows, 0, false, true}), "");
}

TEST_P(TablesTest, EveryRowIsReadOnceFromTheBankAskedForAndAFailureLeavesTheLinesBefore)
{
    const bool apart = T.activeBase[0] != T.activeBase[1];
    for (const uint32_t control : {0xFFFFFFFEU, 0xFFFFFFFFU, 0U}) {
        const bool second = T.bankSelect == BankSelect::WHOLE_WORD ? control != 0 : control % 2 != 0;
        for (const bool inactive : {false, true}) {
            if (apart)
                m_Mem.words[T.bankWord] = control;
            m_Mem.log.clear();
            printed({T.rows - 2, 2, inactive, true});
            std::vector<std::pair<uint32_t, std::size_t>> expected;
            if (apart)
                expected.emplace_back(T.bankWord, 1);
            const uint32_t row = T.activeBase.at(second != inactive ? 1 : 0) + (T.rows - 2) * T.wordsPerRow;
            expected.emplace_back(row, T.wordsPerRow);
            expected.emplace_back(row + T.wordsPerRow, T.wordsPerRow);
            std::vector<std::pair<uint32_t, std::size_t>> accesses;
            for (const Operation& operation : m_Mem.log)
                accesses.emplace_back(operation.offset, operation.values.size());
            EXPECT_EQ(accesses, expected);
        }
    }
    std::ostringstream out;
    m_Mem.failAtAccess((apart ? 1U : 0U) + 3 * T.wordsPerRow);
    EXPECT_THROW(printTable(m_Mem, T, {T.firstRow, T.rows - T.firstRow, false, true}, out), DevMemError);
    const std::string lines = out.str();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
}

TEST_P(TablesTest, BanksAreFilledInOrderReadBackAndSwitchedLast)
{
    if (!T.hasBanks())
        return;
    for (const uint32_t control : {0U, 1U, 0x80000002U, 0x80000003U}) {
        m_Mem.words[T.bankWord] = control;
        m_Mem.log.clear();
        const Words unused = FieldEntry(T).getWords();
        const Words rows = FieldEntry(T).getWords(); // one row, followed by stuffing
        Words changed = rows;
        changed.back() ^= 1;
        const uint32_t idle = T.spare(control);
        BankedTable banks(m_Mem, T);
        banks.fillByRow(std::array{changed}, std::identity());
        std::vector<Operation> expected{{MemAccessType::R32, T.bankWord, {control}}};
        for (uint32_t row = 0; row < T.rows; ++row)
            expected.push_back({MemAccessType::W32, idle + row * T.wordsPerRow, row == 0 ? changed : unused});
        EXPECT_EQ(m_Mem.log, expected);
        m_Mem.log.clear();
        if (T.idleIsReadable) {
            EXPECT_TRUE(banks.idleHolds(changed));
            EXPECT_FALSE(banks.idleHolds(rows));
            m_Mem.words[idle + T.words() - 1] ^= 0x100;
            EXPECT_FALSE(banks.idleHolds(changed));
            EXPECT_EQ(m_Mem.log.size(), 3U);
        }
        m_Mem.log.clear();
        banks.switchBanks();
        const bool whole = T.bankSelect == BankSelect::WHOLE_WORD;
        const Operation last{MemAccessType::W32, T.bankWord, {whole ? uint32_t{control == 0} : control ^ 1}};
        EXPECT_EQ(m_Mem.log.back(), last);
        EXPECT_EQ(m_Mem.log.size(), whole ? 1U : 2U);
        EXPECT_EQ(banks.activeBase(), T.activeBase[0] == T.activeBase[1] ? T.activeBase[0] : idle);
    }
}

TEST_P(TablesTest, RandomEditsReadAsAModelSays)
{
    std::mt19937 random(1);
    std::map<uint32_t, Words> model;
    m_Mem.words.assign(m_Mem.words.size(), 0);
    if (T.hasBanks()) {
        for (int edit = 0; edit < 20; ++edit) {
            Words rows(T.wordsPerRow * (random() % (T.rows + 1)));
            std::generate(rows.begin(), rows.end(), std::ref(random));
            BankedTable banks(m_Mem, T);
            banks.fill(rows);
            banks.switchBanks();
            const Words unused = FieldEntry(T).getWords();
            while (rows.size() < T.words())
                rows.insert(rows.end(), unused.begin(), unused.end());
            EXPECT_EQ(m_Mem.readBlock32(BankedTable(m_Mem, T).activeBase(), T.words()), rows);
        }
        return;
    }
    for (int edit = 0; edit < 1000; ++edit) {
        FieldEntry entry(T);
        Words words(T.wordsPerRow);
        std::generate(words.begin(), words.end(), std::ref(random));
        entry.setFromWords(words);
        entry.setPosition(T.firstRow + static_cast<uint32_t>(random() % (T.rows - T.firstRow)));
        writeRow(m_Mem, entry);
        model[entry.position()] = entry.getWords();
    }
    for (uint32_t word = 0; word < m_Mem.words.size(); ++word) {
        const uint32_t row = (word - T.activeBase[0]) / T.wordsPerRow;
        const auto found = word < T.activeBase[0] ? model.end() : model.find(row);
        const uint32_t expected = found == model.end() ? 0 : found->second[(word - T.activeBase[0]) % T.wordsPerRow];
        ASSERT_EQ(m_Mem.words[word], expected) << word;
    }
}

TEST(TableLayoutTest, TablesLieInsideTheirMapsAndShareNoWord)
{
    std::map<TableBlock, std::vector<bool>> used{{TableBlock::PID, std::vector<bool>(PIDLUT_DEVICE.mapSize / 4)},
                                                 {TableBlock::IO, std::vector<bool>(IPLUT_DEVICE.mapSize / 4)},
                                                 {TableBlock::SCM, std::vector<bool>(2048)}};
    const auto take = [&](TableBlock block, uint32_t first, uint32_t count) {
        for (uint32_t word = first; word < first + count; ++word) {
            EXPECT_FALSE(used[block].at(word)) << word;
            used[block].at(word) = true;
        }
    };
    for (const TableLayout* table : allTables()) {
        take(table->block, table->activeBase[0], table->words());
        if (table->activeBase[0] != table->activeBase[1])
            take(table->block, table->activeBase[1], table->words());
        if (table->hasBanks())
            take(table->block, table->bankWord, 1);
    }
    for (const uint32_t base : {TSI_BITRATE_BASE, TSO_BITRATE_BASE, STATUS_1536_BASE})
        take(TableBlock::PID, base, STATUS_COUNT);
}

TEST(TableLayoutTest, ADeclarationThatCannotBeIsUnsound)
{
    const auto sound = [](std::vector<Field> fields, uint32_t words = 1, std::string_view format = "") {
        return isSound({.wordsPerRow = words, .fields = fields, .format = format});
    };
    EXPECT_TRUE(sound({{.at = {"A", 0, 0, 32}}, {.at = {"B", 1, 31, 1}}, {.at = {"C", 1, 0, 31}}}, 2, "{A} {B:x}"));
    EXPECT_FALSE(sound({{.at = {"A", 1, 0, 1}}})) << "word behind the row";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 1}}}, 2)) << "word without a field";
    EXPECT_FALSE(sound({{.at = {"A", 0, 31, 2}}})) << "bit behind the word";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 0}}})) << "no bit at all";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 33}}})) << "too wide";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}}, {.at = {"B", 0, 7, 1}}})) << "shared bit";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}}, {.at = {"A", 0, 8, 1}}})) << "shared name";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}, .stuffing = 256}})) << "stuffing that does not fit";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}, .switchesOn = "B"}})) << "unknown flag";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}}}, 1, "{B}")) << "unknown name";
    EXPECT_FALSE(sound({{.at = {"A", 0, 0, 8}}, {.at = {"P", POSITION, 0, 8}}, {.at = {"Q", POSITION, 0, 8}}}))
        << "two positions";
}

TEST(ReadOutTest, AStreamThatRaisesEndsTheReadOutWithItsError)
{
    for (const uint32_t rows : {1U, 2048U}) { // with the last piece, and before
        FakeMem block(0x8000);
        struct : std::streambuf
        {
        } takesNothing;
        std::ostream out(&takesNothing);
        out.exceptions(std::ios::badbit | std::ios::failbit);
        EXPECT_THROW(printPidLut(block, 0, rows, false, true, out), std::ios::failure);
        block.failAtAccess(1 + 2);
        EXPECT_THROW(printPidLut(block, 0, 2048, false, true, out), DevMemError);
    }
}

TEST(ReadOutTest, GettersTakeRowsInOrderAndLeaveOutThoseThatRouteNowhere)
{
    FakeMem mem(0x8000);
    // No route at all, to the CPU, stuffing with a route to the outputs; and the same in the other bank but for the
    // first.
    const Words pid{0x00002001, 0xFF000001, 0x00002002, 0xFF002002, 0x001FFFFF, 0xFF001FFF};
    std::copy(pid.begin(), pid.end(), mem.words.begin() + 8192);
    std::copy(pid.begin() + 2, pid.end(), mem.words.begin() + 12288);
    const auto pidIndices = [&mem](uint32_t rows, bool inactive, bool showAll) {
        std::vector<int> indices;
        for (const PidLutEntry& entry : getPidLut(mem, 0, rows, inactive, showAll))
            indices.push_back(entry.getPIDIDX());
        return indices;
    };
    EXPECT_THAT(pidIndices(3, false, false), ElementsAre(2, 4095));
    EXPECT_THAT(pidIndices(3, false, true), ElementsAre(1, 2, 4095));
    EXPECT_THAT(pidIndices(1, true, false), ElementsAre(2));
    EXPECT_FALSE(getActivePidLutBank(mem));
    mem.words[129] = 0xFFFFFFFF;
    EXPECT_TRUE(getActivePidLutBank(mem));
    EXPECT_THAT(pidIndices(1, false, false), ElementsAre(2));

    const Words ip{0xEF000002, 0x01020001, 0xEF000001, 0x00010001, 0xEF000003, 0x01030001};
    std::copy(ip.begin(), ip.end(), mem.words.begin() + 2048);
    for (const bool inactive : {false, true}) {
        EXPECT_EQ(getIpLut(mem, 0, 3, inactive, false).size(), 2U);
        EXPECT_EQ(getIpLut(mem, 0, 3, inactive, true).size(), 3U);
        EXPECT_EQ(getIpLut(mem, 0, 256, inactive, false).back().getTSIidx(), 3);
    }
    EXPECT_FALSE(getActiveIpLutBank(mem));
    mem.words[0] = 0xFFFFFFFF;
    EXPECT_TRUE(getActiveIpLutBank(mem));
}
