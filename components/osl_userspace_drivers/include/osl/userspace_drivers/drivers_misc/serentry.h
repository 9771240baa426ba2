#pragma once

#include <osl/cpputils/error.h>

#include <cstddef>
#include <vector>

namespace Osl::Drivers::Misc {

/// A table row: typed fields that are packed into, and decoded from, the words in which the hardware keeps the row.
/// Packing is put off until the words are asked for. One thread at a time, also for reading.
template <class Word>
class SerilizeableEntry
{
public:
    virtual ~SerilizeableEntry() = default;

    /// Packs the fields into the words.
    virtual void serialize() const = 0;
    /// Decodes the words into the fields; false when they hold no valid row.
    virtual bool deserialize() = 0;
    /// Gives every field the value that marks a row as unused.
    virtual void setStuffing() = 0;

    const std::vector<Word>& getWords() const
    {
        if (m_Dirty) {
            serialize();
            m_Dirty = false;
        }
        return m_Words;
    }

    /// Takes over a row as the hardware keeps it; words without a valid row become a stuffing row. Raises
    /// InvalidArgumentError, the entry unchanged, when there are not exactly getWordCount() words.
    void setFromWords(const std::vector<Word>& buffer)
    {
        if (buffer.size() != m_Words.size())
            OSL_RAISE(CppUtil::InvalidArgumentError, "Incorrect length of serialized data buffer");
        m_Words = buffer;
        if (!deserialize())
            setStuffing();
        // Bits without a field must not travel on: the next getWords() packs the fields alone.
        m_Dirty = true;
    }

    std::size_t getWordCount() const { return m_Words.size(); }

protected:
    explicit SerilizeableEntry(std::size_t wordCount) : m_Words(wordCount) {}
    SerilizeableEntry(const SerilizeableEntry&) = default;
    SerilizeableEntry(SerilizeableEntry&&) noexcept = default;
    SerilizeableEntry& operator=(const SerilizeableEntry&) = default;
    SerilizeableEntry& operator=(SerilizeableEntry&&) noexcept = default;

    /// To be called whenever a field changes.
    void setDirty() { m_Dirty = true; }

    mutable std::vector<Word> m_Words;

private:
    mutable bool m_Dirty = true;
};

} // namespace Osl::Drivers::Misc
