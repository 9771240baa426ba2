#include <osl/testing/test.h>
#include <osl/userspace_drivers/drivers_misc/serentry.h>

#include <utility>

using namespace Osl::Drivers::Misc;

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
    EXPECT_FALSE(CountingEntry().deserialize()) << "they are all zero";
    const CountingEntry fresh;
    CountingEntry copy = fresh;
    copy.serialize();
    EXPECT_TRUE(copy.deserialize());
    EXPECT_THAT(fresh.getWords(), ElementsAre(1));
    CountingEntry from;
    from.set(5);
    CountingEntry to = std::move(from);
    EXPECT_THAT(to.getWords(), ElementsAre(5));
    from.serialize(); // NOLINT(*-use-after-move,*-cplusplus.Move): an entry keeps its words
}
