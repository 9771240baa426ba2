#include "json_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace Osl::ZebRouting {
namespace {

/// No statement has nearly so many.
constexpr std::size_t MOST_MEMBERS = 16;

std::string described(const JsonValue& value)
{
    switch (value.type) {
    case JsonValue::Type::NOTHING:
        return "null";
    case JsonValue::Type::FLAG:
        return value.number != 0 ? "true" : "false";
    case JsonValue::Type::NUMBER:
        return std::to_string(value.number);
    case JsonValue::Type::OTHER_NUMBER:
        return printable(value.text.substr(0, 40));
    case JsonValue::Type::TEXT:
        return inQuotes(value.text);
    case JsonValue::Type::ARRAY:
        return "an array";
    case JsonValue::Type::OBJECT:
        return "an object";
    }
    return "";
}

[[noreturn]] void failAt(const JsonValue& value, std::string_view key, std::string_view expected,
                         std::span<const std::string_view> candidates = {})
{
    throw Fault{fmt::format("\"{}\": expected {}, found {}{}", key, expected, described(value),
                            value.type == JsonValue::Type::TEXT ? suggestion(value.text, candidates) : ""),
                value.line};
}

uint32_t numberOf(const NumberField& field, const JsonValue& value)
{
    if (value.type != JsonValue::Type::NUMBER || value.number < field.min || value.number > field.max)
        failAt(value, field.key, fmt::format("{} ({}..{})", field.what, field.min, field.max));
    return static_cast<uint32_t>(value.number);
}

/// A text; of any other value what no text field takes.
std::string_view textOf(const JsonValue& value)
{
    return value.type == JsonValue::Type::TEXT ? std::string_view(value.text) : std::string_view();
}

template <class S>
std::optional<Statement> readElement(std::string_view arrayKey, const JsonValue& element, const S&)
{
    if (arrayKey != Kind<S>::JSON_KEY)
        return std::nullopt;
    if (element.type != JsonValue::Type::OBJECT)
        failAt(element, arrayKey, "objects");
    JsonReader reader(element);
    S statement;
    Kind<S>::fields(reader, statement);
    reader.finish();
    if (const std::string_view fault = Kind<S>::fault(statement); !fault.empty())
        throw Fault{std::string(fault), element.line};
    return statement;
}

} // namespace

Statement readStatement(std::string_view arrayKey, const JsonValue& element)
{
    std::optional<Statement> statement;
    forEachStatementKind([&](const auto& kind) {
        if (!statement)
            statement = readElement(arrayKey, element, kind);
    });
    return statement.value();
}

JsonReader::JsonReader(const JsonValue& object) : m_Object(object)
{
    if (object.members.size() > MOST_MEMBERS)
        throw Fault{fmt::format("expected the members of a statement, found {}", object.members.size()), object.line};
}

void JsonReader::finish() const
{
    for (auto member = m_Object.members.begin(); member != m_Object.members.end(); ++member) {
        const std::string& key = member->name;
        if (std::find(m_Known.begin(), m_Known.end(), key) == m_Known.end())
            throw Fault{fmt::format("{} has no place here{}", inQuotes(key), suggestion(key, m_Known)),
                        member->value.line};
        if (std::any_of(m_Object.members.begin(), member, [&](const auto& other) { return other.name == key; }))
            throw Fault{fmt::format("{} stands here twice", inQuotes(key)), member->value.line};
    }
}

void JsonReader::endpoint(const PortNaming& ports, Endpoint& at)
{
    if (const JsonValue* phys = find("phys")) {
        const auto port = ports.find(textOf(*phys));
        if (!port) {
            const std::vector<std::string_view> names(ports.names().begin(), ports.names().end());
            failAt(*phys, "phys", fmt::format("a physical port, as \"{}\"", names.front()), names);
        }
        at = Endpoint::port(*port);
        return;
    }
    const JsonValue& ip = member("ip", "an address, unless \"phys\" names a physical port");
    const auto address = parseAddress(textOf(ip));
    if (!address)
        failAt(ip, "ip", "an address, as \"239.1.1.1\"");
    at = Endpoint::ip(*address, 0);
    number(UDP_PORT, at.number);
}

void JsonReader::mac(Mac& mac, uint32_t address)
{
    const auto implied = multicastMac(address);
    mac = implied.value_or(Mac{});
    const JsonValue* value = implied ? find("mac") : &member("mac", "which only a multicast address gives by itself");
    if (value == nullptr)
        return;
    const auto given = parseMac(textOf(*value));
    if (!given)
        failAt(*value, "mac", "a MAC address, as \"01:00:5e:01:02:03\"");
    mac = *given;
}

void JsonReader::flag(const FlagField& field, bool& value)
{
    const JsonValue* found = find(field.key);
    if (found != nullptr && found->type != JsonValue::Type::FLAG)
        failAt(*found, field.key, "true or false");
    value = found != nullptr ? found->number != 0 : !field.wordMeans;
}

void JsonReader::packets(const NumberField& tsi, const NumberField& pid, Selector& packets)
{
    number(tsi, packets.tsi);
    const JsonValue& value = member(pid.key, "a PID, or null for all other PIDs");
    packets.pid =
        value.type == JsonValue::Type::NOTHING ? Selector::ALL_PIDS : static_cast<uint16_t>(numberOf(pid, value));
}

void JsonReader::destinations(std::vector<Destination>& to, Reach reach)
{
    const JsonValue& list = member("to", "an array of destinations");
    if (list.type != JsonValue::Type::ARRAY || (list.members.empty() && reach == Reach::OUTPUTS))
        failAt(list, "to", reach == Reach::OUTPUTS ? "an array with at least one destination" : "an array");
    for (const auto& [name, element] : list.members) {
        if (element.type != JsonValue::Type::OBJECT)
            failAt(element, "to", "objects, as {\"tso\":3,\"pid\":512}");
        JsonReader reader(element);
        to.push_back(reader.destination(element, reach));
        reader.finish();
    }
    if (to.empty())
        to.push_back(Destination::drop());
}

Destination JsonReader::destination(const JsonValue& object, Reach reach)
{
    if (find(CPU.key) != nullptr) {
        uint8_t filter = 0;
        number(CPU, filter);
        if (reach == Reach::OUTPUTS)
            throw Fault{"expected \"tso\" and perhaps \"pid\", found \"cpu\", but these packets can go to outputs only",
                        object.line};
        return Destination::cpu(filter);
    }
    uint8_t tso = 0;
    number(TSO, tso);
    const JsonValue* pid = find(PID.key);
    return pid == nullptr ? Destination::output(tso)
                          : Destination::output(tso, static_cast<uint16_t>(numberOf(PID, *pid)));
}

uint32_t JsonReader::numberIn(const NumberField& field)
{
    return numberOf(field, member(field.key, fmt::format("{} ({}..{})", field.what, field.min, field.max)));
}

const JsonValue* JsonReader::find(std::string_view key)
{
    m_Known.push_back(key);
    for (const auto& [name, value] : m_Object.members)
        if (name == key)
            return &value;
    return nullptr;
}

const JsonValue& JsonReader::member(std::string_view key, std::string_view what)
{
    if (const JsonValue* value = find(key))
        return *value;
    throw Fault{fmt::format("\"{}\" is missing, {}", key, what), m_Object.line};
}

} // namespace Osl::ZebRouting
