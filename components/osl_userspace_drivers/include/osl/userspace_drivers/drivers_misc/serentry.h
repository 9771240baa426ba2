#pragma once

#include <osl/cpputils/error.h>

#include <cstddef>
#include <cstdint>
#include <utility>
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
            m_Words.resize(m_WordCount);
            serialize();
            m_Dirty = false;
        }
        return m_Words;
    }

    /// Takes over a row as the hardware keeps it; words without a valid row become a stuffing row. Raises
    /// InvalidArgumentError, the entry unchanged, when there are not exactly getWordCount() words.
    void setFromWords(std::vector<Word> buffer)
    {
        if (buffer.size() != m_WordCount)
            OSL_RAISE(CppUtil::InvalidArgumentError, "Incorrect length of serialized data buffer");
        m_Words = std::move(buffer);
        if (!deserialize())
            setStuffing();
        // Bits without a field must not travel on: the next getWords() packs the fields alone.
        m_Dirty = true;
    }

    std::size_t getWordCount() const { return m_WordCount; }

protected:
    explicit SerilizeableEntry(std::size_t wordCount) : m_WordCount(static_cast<uint32_t>(wordCount)) {}
    // A copy packs its words anew when asked: whole tables are copied, of which few rows are ever packed.
    SerilizeableEntry(const SerilizeableEntry& other) : m_WordCount(other.m_WordCount) {}
    SerilizeableEntry& operator=(const SerilizeableEntry&)
    {
        m_Dirty = true;
        return *this;
    }

    /// To be called whenever a field changes.
    void setDirty() { m_Dirty = true; }

    mutable std::vector<Word> m_Words; ///< getWordCount() words while packing and decoding

private:
    const uint32_t m_WordCount;
    mutable bool m_Dirty = true;
};

} // namespace Osl::Drivers::Misc
