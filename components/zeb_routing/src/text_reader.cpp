#include "text_reader.h"

#include <osl/cpputils/netaddress.h>
#include <osl/cpputils/stringutils.h>

#include <fmt/format.h>

namespace Osl::ZebRouting {
namespace {

constexpr std::string_view BLANKS = " \t\r\v\f";

/// Up to the first `separator`, and what follows it; nullopt without one.
std::optional<std::pair<std::string_view, std::string_view>> cutAt(char separator, std::string_view word)
{
    const std::size_t at = word.find(separator);
    if (at == std::string_view::npos)
        return std::nullopt;
    return std::pair(word.substr(0, at), word.substr(at + 1));
}

/// "a", "a" or "b", "a", "b" or "c"
std::string choiceOf(std::span<const std::string_view> words, std::string_view last = "")
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i != 0)
            text += i + 1 == words.size() && last.empty() ? " or " : ", ";
        text += inQuotes(words[i]);
    }
    if (!last.empty())
        text += (words.empty() ? "" : " or ") + std::string(last);
    return text;
}

/// Reads a statement whose line may end behind its first field.
class KeyOrAllReader
{
public:
    explicit KeyOrAllReader(TextReader& reader) : m_Reader(reader) {}

    bool isKeyOnly() const { return m_IsKeyOnly; }

    template <class Value>
    void number(const NumberField& field, Value& value)
    {
        m_Reader.number(field, value);
        m_IsKeyOnly = m_Reader.atEnd();
    }
    void packets(const NumberField& tsi, const NumberField& pid, Selector& packets)
    {
        m_Reader.packets(tsi, pid, packets);
        m_IsKeyOnly = m_Reader.atEnd();
    }
    void endpoint(const PortNaming& ports, Endpoint& at)
    {
        if (!m_IsKeyOnly)
            m_Reader.endpoint(ports, at);
    }
    void mac(Mac& mac, uint32_t address)
    {
        if (!m_IsKeyOnly)
            m_Reader.mac(mac, address);
    }
    void flag(const FlagField& field, bool& value) { m_Reader.flag(field, value); }
    void count(uint32_t& count)
    {
        if (!m_IsKeyOnly)
            m_Reader.count(count);
    }
    void destinations(std::vector<Destination>& to, Reach reach)
    {
        if (!m_IsKeyOnly)
            m_Reader.destinations(to, reach);
    }

private:
    TextReader& m_Reader;
    bool m_IsKeyOnly = false;
};

/// Reads the fields of the statement behind the key word through `form`.
template <class Form>
Statement readFields(TextReader& reader, Form& form)
{
    const std::string_view word = reader.take();
    std::optional<Statement> statement;
    std::vector<std::string_view> words;
    forEachStatementKind([&](const auto& kind) {
        using S = std::decay_t<decltype(kind)>;
        words.push_back(Kind<S>::WORD);
        if (statement || word != Kind<S>::WORD)
            return;
        S read;
        Kind<S>::fields(form, read);
        reader.finish();
        if (const std::string_view fault = Kind<S>::fault(read); !fault.empty())
            throw Fault{std::string(fault)};
        statement = std::move(read);
    });
    if (!statement)
        reader.fail(choiceOf(words), word, words);
    return std::move(*statement);
}

} // namespace

std::optional<Statement> readStatement(std::string_view line)
{
    TextReader reader(line);
    return reader.atEnd() ? std::nullopt : std::optional(readFields(reader, reader));
}

Statement readOneStatement(std::string_view line)
{
    TextReader reader(line);
    return readFields(reader, reader);
}

StatementToRemove readRemoval(std::string_view line)
{
    TextReader reader(line);
    KeyOrAllReader form(reader);
    Statement statement = readFields(reader, form);
    return {std::move(statement), form.isKeyOnly()};
}

TextReader::TextReader(std::string_view line)
{
    line = line.substr(0, line.find('#'));
    for (;;) {
        line.remove_prefix(std::min(line.find_first_not_of(BLANKS), line.size()));
        if (line.empty())
            return;
        m_Words.push_back(line.substr(0, line.find_first_of(BLANKS)));
        line.remove_prefix(m_Words.back().size());
    }
}

void TextReader::finish()
{
    if (atEnd())
        return;
    if (m_AcceptedAt != m_Next)
        m_Accepted.clear();
    fail(choiceOf(m_Accepted, "the end of the line"), m_Words[m_Next], m_Accepted);
}

void TextReader::endpoint(const PortNaming& ports, Endpoint& at)
{
    const std::string_view word = take();
    if (const auto port = ports.find(word)) {
        at = Endpoint::port(*port);
        return;
    }
    const auto parts = cutAt(':', word);
    const auto address = parts ? parseAddress(parts->first) : std::nullopt;
    if (!address) {
        const std::vector<std::string_view> names(ports.names().begin(), ports.names().end());
        fail(fmt::format("an address with a UDP port, as 239.1.1.1:1234, or a physical port, as {}", names.front()),
             word, names);
    }
    at = Endpoint::ip(*address, static_cast<uint16_t>(numberIn(UDP_PORT, parts->second)));
}

void TextReader::mac(Mac& mac, uint32_t address)
{
    const auto implied = multicastMac(address);
    mac = implied.value_or(Mac{});
    if (takeIf("mac")) {
        const std::string_view word = take();
        const auto given = parseMac(word);
        if (!given)
            fail("a MAC address, as 01:00:5e:01:02:03", word);
        mac = *given;
    } else if (!implied) {
        fail("\"mac\" and the receiver's MAC address, which only a multicast address gives by itself", take(),
             m_Accepted);
    }
}

void TextReader::flag(const FlagField& field, bool& value) { value = takeIf(field.word) == field.wordMeans; }

void TextReader::count(uint32_t& count)
{
    static constexpr std::array WORDS{std::string_view("count"), std::string_view("unit")};
    const std::string_view word = take();
    if (word == WORDS[1])
        count = Filter::WHOLE_UNIT;
    else if (word == WORDS[0])
        number(COUNT, count);
    else
        fail("\"count\" and a number of packets, or \"unit\"", word, WORDS);
}

void TextReader::packets(const NumberField& tsi, const NumberField& pid, Selector& packets)
{
    const std::string_view word = take();
    const auto parts = cutAt(':', word);
    if (!parts)
        fail("a TSI and a PID, as 9:0x0100, or a TSI and all its other PIDs, as 9:*", word);
    packets.tsi = static_cast<uint8_t>(numberIn(tsi, parts->first));
    packets.pid = parts->second == "*" ? Selector::ALL_PIDS : static_cast<uint16_t>(numberIn(pid, parts->second));
}

void TextReader::destinations(std::vector<Destination>& to, Reach reach)
{
    static constexpr std::array WORDS{std::string_view("to")};
    if (const std::string_view word = take(); word != WORDS.front())
        fail("\"to\" and where the packets go", word, WORDS);
    do
        to.push_back(destination(reach));
    while (!atEnd());
}

Destination TextReader::destination(Reach reach)
{
    const std::string_view word = take();
    if (reach == Reach::ANYWHERE) {
        if (word == "drop")
            return Destination::drop();
        if (word == "cpu")
            return Destination::cpu();
        if (const auto parts = cutAt('/', word); parts && parts->first == "cpu")
            return Destination::cpu(static_cast<uint8_t>(numberIn(FILTER, parts->second)));
    }
    const auto parts = cutAt(':', word);
    const auto tso = CppUtil::parseUint32(parts ? parts->first : word);
    if (!tso) {
        static constexpr std::array WORDS{std::string_view("cpu"), std::string_view("drop")};
        if (reach == Reach::ANYWHERE)
            fail("a TSO, as 3 or 3:0x0200, \"cpu\", \"cpu/FILTER\" or \"drop\"", word, WORDS);
        fail("a TSO, as 3 or 3:0x0200, and nothing else", word);
    }
    const auto number = static_cast<uint8_t>(numberIn(TSO, parts ? parts->first : word));
    return parts ? Destination::output(number, static_cast<uint16_t>(numberIn(PID, parts->second)))
                 : Destination::output(number);
}

uint32_t TextReader::numberIn(const NumberField& field, std::string_view text) const
{
    const auto value = CppUtil::parseUint32(text);
    if (!value || *value < field.min || *value > field.max)
        fail(fmt::format("{} ({}..{})", field.what, field.min, field.max), text);
    return *value;
}

bool TextReader::takeIf(std::string_view word)
{
    if (!atEnd() && m_Words[m_Next] == word) {
        ++m_Next;
        return true;
    }
    if (m_AcceptedAt != m_Next)
        m_Accepted.clear();
    m_AcceptedAt = m_Next;
    m_Accepted.push_back(word);
    return false;
}

void TextReader::fail(std::string_view expected, std::string_view found,
                      std::span<const std::string_view> candidates) const
{
    if (found.data() == nullptr)
        throw Fault{fmt::format("expected {}, but the line ends", expected)};
    throw Fault{fmt::format("expected {}, found {}{}", expected, inQuotes(found), suggestion(found, candidates))};
}

} // namespace Osl::ZebRouting
