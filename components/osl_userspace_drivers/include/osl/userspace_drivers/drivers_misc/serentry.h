#pragma once

#include <osl/cpputils/error.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Osl::Drivers::Misc {

/// A table row: typed fields that are packed into, and decoded from, the words in which the hardware keeps the row. The
/// words are there, all zero, from construction on; packing is put off until getWords(). A kind of row implements the
/// three operations over m_Words, and calls setDirty() in its setters. One thread at a time, also for reading.
template <class Word>
class SerilizeableEntry
{
public:
    virtual ~SerilizeableEntry() = default;

    /// Packs the fields into the words.
    virtual void serialize() = 0;
    /// Decodes the words into the fields; false when they hold no valid row.
    virtual bool deserialize() = 0;
    /// Gives every field the value that marks a row as unused.
    virtual void setStuffing() = 0;

    /// The packed row, also of an entry that its owner may not change: packing changes no field.
    const std::vector<Word>& getWords() const
    {
        if (m_Dirty) {
            const_cast<SerilizeableEntry*>(this)->serialize();
            m_Dirty = false;
        }
        return m_Words;
    }

    /// Takes over a row as the hardware keeps it; words without a valid row become a stuffing row. Raises
    /// InvalidArgumentError, the entry unchanged, when there are not exactly getWordCount() words.
    void setFromWords(const std::vector<Word>& buffer) { setFromWords(std::span(buffer)); }
    void setFromWords(std::span<const Word> buffer)
    {
        if (buffer.size() != m_Words.size())
            OSL_RAISE(CppUtil::InvalidArgumentError, "Incorrect length of serialized data buffer");
        m_Words.assign(buffer.begin(), buffer.end());
        if (!deserialize())
            setStuffing();
        // Bits without a field must not travel on: the next getWords() packs the fields alone.
        m_Dirty = true;
    }

    std::size_t getWordCount() const { return m_Words.size(); }

protected:
    explicit SerilizeableEntry(std::size_t wordCount) : m_Words(wordCount) {}
    explicit SerilizeableEntry(std::vector<Word> words) : m_Words(std::move(words)) {}
    // Copied, never moved: an entry that was moved from would have lost its words.
    SerilizeableEntry(const SerilizeableEntry&) = default;
    SerilizeableEntry& operator=(const SerilizeableEntry&) = default;

    /// To be called whenever a field changes.
    void setDirty() { m_Dirty = true; }

    mutable std::vector<Word> m_Words; ///< always getWordCount() words

private:
    mutable bool m_Dirty = true;
};

} // namespace Osl::Drivers::Misc
