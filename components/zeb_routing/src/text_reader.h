#pragma once

#include "faults.h"
#include "statement.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Osl::ZebRouting {

/// Reads the statement of a line; nullopt for a line without any. Raises Fault for a line that is wrong.
std::optional<Statement> readStatement(std::string_view line);

/// The same for a line that has to have one.
Statement readOneStatement(std::string_view line);

/// A statement to be taken away.
struct StatementToRemove
{
    Statement statement;
    bool isKeyOnly; ///< the line ended behind what the statement is about
};
StatementToRemove readRemoval(std::string_view line);

/// Reads the words of one line as the fields of a statement. Every function raises Fault for what it does not expect.
class TextReader
{
public:
    explicit TextReader(std::string_view line);

    bool atEnd() const { return m_Next == m_Words.size(); }
    /// The next word, which is then done with; "" at the end.
    std::string_view take() { return atEnd() ? std::string_view() : m_Words[m_Next++]; }
    /// Nothing must be left.
    void finish();

    template <class Value>
    void number(const NumberField& field, Value& value)
    {
        value = static_cast<Value>(numberIn(field, take()));
    }
    void endpoint(const PortNaming& ports, Endpoint& at);
    void mac(Mac& mac, uint32_t address);
    void flag(const FlagField& field, bool& value);
    void count(uint32_t& count);
    void packets(const NumberField& tsi, const NumberField& pid, Selector& packets);
    void destinations(std::vector<Destination>& to, Reach reach);
    Destination destination(Reach reach);

    /// Any other word than this is a fault.
    [[noreturn]] void fail(std::string_view expected, std::string_view found,
                           std::span<const std::string_view> candidates = {}) const;

private:
    uint32_t numberIn(const NumberField& field, std::string_view text) const;
    bool takeIf(std::string_view word);

    std::vector<std::string_view> m_Words;
    std::size_t m_Next = 0;
    std::vector<std::string_view> m_Accepted; ///< words that could also have come next
    std::size_t m_AcceptedAt = 0;             ///< which word that was
};

} // namespace Osl::ZebRouting
