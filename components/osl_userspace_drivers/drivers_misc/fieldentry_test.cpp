#include <osl/testing/emulation.h>
#include <osl/userspace_drivers/drivers_misc/fieldentry.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

using namespace Osl::Drivers::Misc;
using testing::ElementsAre;

TEST(BitFieldTest, LayoutIsSoundWhenFieldsKeepToTheWordsAndToThemselves)
{
    EXPECT_TRUE((isSound<2>(std::array{BitField{"A", 0, 0, 32}, BitField{"B", 1, 31, 1}, BitField{"C", 1, 0, 31}})));
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 1, 0, 1}}))) << "word behind the row";
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 0, 31, 2}}))) << "bit behind the word";
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 0, 0, 0}}))) << "no bit at all";
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 0, 0, 33}}))) << "too wide";
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 0, 0, 8}, BitField{"B", 0, 7, 1}}))) << "shared bit";
    EXPECT_FALSE((isSound<1>(std::array{BitField{"A", 0, 0, 8}, BitField{"A", 0, 8, 1}}))) << "shared name";
}

namespace {

/// A kind of row of a user's own: counts how often it is packed, and refuses the word 0.
class CountingEntry : public SerilizeableEntry<uint32_t>
{
public:
    CountingEntry() : SerilizeableEntry(1) {}
    void serialize() override
    {
        m_Words[0] = m_Value;
        ++packed;
    }
    bool deserialize() override
    {
        m_Value = m_Words[0];
        return m_Value != 0;
    }
    void setStuffing() override { set(99); }
    void set(uint32_t value)
    {
        m_Value = value;
        setDirty();
    }

    int packed = 0;

private:
    uint32_t m_Value = 1;
};

struct LampFields
{
    static constexpr BitField LAMP{"LAMP", 0, 0, 8};
    static constexpr std::array ALL{LAMP};
};

class LampEntry final : public FieldEntry<1, LampFields::ALL>
{
public:
    void setStuffing() override { setLamp(255); }
    void setLamp(uint32_t lamp) { setValue<LampFields::LAMP>(lamp); }
};

} // namespace

TEST(SerilizeableEntryTest, PacksOnlyWhenAFieldHasChanged)
{
    CountingEntry entry;
    EXPECT_THAT(entry.getWords(), ElementsAre(1));
    EXPECT_THAT(entry.getWords(), ElementsAre(1));
    EXPECT_EQ(entry.packed, 1);
    entry.set(2);
    EXPECT_THAT(entry.getWords(), ElementsAre(2));
    EXPECT_EQ(entry.packed, 2);
}

TEST(SerilizeableEntryTest, WordsThatHoldNoRowBecomeStuffing)
{
    CountingEntry entry;
    entry.setFromWords({7});
    EXPECT_THAT(entry.getWords(), ElementsAre(7));
    entry.setFromWords({0});
    EXPECT_THAT(entry.getWords(), ElementsAre(99));
}

TEST(SerilizeableEntryTest, WordsAreThereFromTheStartAlsoInCopies)
{
    const auto packsAndDecodesAtOnce = [](auto entry) { // a copy
        auto copy = entry;
        EXPECT_TRUE(copy.deserialize() || copy.getWordCount() == 1) << "all zero";
        copy = entry;
        copy.serialize();
        entry.serialize();
        EXPECT_TRUE(entry.deserialize());
        return entry.getWords() == copy.getWords();
    };
    EXPECT_TRUE(packsAndDecodesAtOnce(CountingEntry()));
    EXPECT_TRUE(packsAndDecodesAtOnce(LampEntry()));
    CountingEntry from;
    from.set(5);
    CountingEntry to = std::move(from);
    EXPECT_THAT(to.getWords(), ElementsAre(5));
    from.serialize(); // NOLINT(bugprone-use-after-move): an entry keeps its words
}

TEST(FieldEntryDeathTest, AValueThatItsFieldCannotHoldIsNeverCutDown)
{
    OSL_SKIP_UNDER_QEMU("does not tell that its program aborted");
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    LampEntry entry;
    EXPECT_DEATH(entry.setLamp(256), "Assertion failed: \\[value <= FIELD.max\\(\\)");
}
