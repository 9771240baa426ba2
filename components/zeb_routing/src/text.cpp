#include "collector.h"
#include "statement.h"
#include "text_reader.h"

#include <osl/zeb_routing/text.h>

#include <fmt/format.h>

#include <iterator>

namespace Osl::ZebRouting {
namespace {

/// Writes the fields of statements behind their key word.
class TextWriter
{
public:
    template <class S>
    void add(const S& statement, std::string_view sign = "")
    {
        append(sign);
        append(Kind<S>::WORD);
        Kind<S>::fields(*this, statement);
        append("\n");
    }
    std::string text() const { return fmt::to_string(m_Text); }

    void number(const NumberField&, uint32_t value) { appendNumber(" ", value); }
    void endpoint(const PortNaming& ports, const Endpoint& at)
    {
        append(" ");
        append(at.isPort ? ports.nameOf(at.number) : inputName(at));
    }
    void mac(const Mac& mac, uint32_t address)
    {
        if (mac == multicastMac(address))
            return;
        append(" mac ");
        append(toString(mac));
    }
    void flag(const FlagField& field, bool value)
    {
        if (value != field.wordMeans)
            return;
        append(" ");
        append(field.word);
    }
    void count(uint32_t count)
    {
        if (count == Filter::WHOLE_UNIT)
            append(" unit");
        else
            appendNumber(" count ", count);
    }
    void packets(const NumberField&, const NumberField&, const Selector& packets)
    {
        appendNumber(" ", packets.tsi);
        if (packets.isWholeTsi())
            append(":*");
        else
            appendPid(packets.pid);
    }
    void destinations(const std::vector<Destination>& to, Reach)
    {
        append(" to");
        for (const Destination destination : to)
            append(destination);
    }

private:
    void append(std::string_view text) { m_Text.append(text); }
    void appendNumber(std::string_view before, uint32_t value)
    {
        append(before);
        const fmt::format_int digits(value);
        append({digits.data(), digits.size()});
    }
    void appendPid(uint32_t pid)
    {
        append(":0x");
        for (int shift = 12; shift >= 0; shift -= 4)
            m_Text.push_back("0123456789abcdef"[pid >> shift & 0xF]);
    }
    void append(Destination to)
    {
        if (to.isDrop()) {
            append(" drop");
        } else if (to.isCpu()) {
            append(" cpu");
            if (to.filter() != Destination::NO_FILTER)
                appendNumber("/", to.filter());
        } else {
            appendNumber(" ", to.tso());
            if (const auto pid = to.newPid())
                appendPid(*pid);
        }
    }

    fmt::memory_buffer m_Text;
};

/// A fact as a statement of its own.
template <class Fact>
const Fact& alone(const Fact& fact)
{
    return fact;
}
RouteStatement alone(const Route& route) { return {route.packets, {route.to}}; }
ListStatement alone(const List& list) { return {list.pidIdx, {list.to}}; }

} // namespace

std::string toText(const Routing& routing)
{
    TextWriter writer;
    forEachStatementKind([&](const auto& kind) {
        forEachStatement(routing, kind, [&writer](const auto& statement) { writer.add(statement); });
    });
    return writer.text();
}

std::string toText(const Difference& difference)
{
    TextWriter writer;
    const auto addFacts = [&writer](const Routing& side, std::string_view sign) {
        forEachKind([&](auto facts) {
            for (const auto& fact : side.*facts)
                writer.add(alone(fact), sign);
        });
    };
    addFacts(difference.removed, "-");
    addFacts(difference.added, "+");
    return writer.text();
}

Routing parseText(std::string_view text)
{
    if (text.starts_with("\xEF\xBB\xBF")) // the byte order mark of some editors
        text.remove_prefix(3);
    Collector collector;
    for (std::size_t line = 1; !text.empty() && collector.takesMore(); ++line) {
        const std::size_t end = text.find('\n');
        try {
            if (const auto statement = readStatement(text.substr(0, end)))
                collector.add(*statement, line);
        } catch (const Fault& fault) {
            collector.addProblem(line, fault.text);
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return collector.finish();
}

} // namespace Osl::ZebRouting
