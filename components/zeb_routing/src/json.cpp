#include "collector.h"
#include "json_reader.h"
#include "statement.h"

#include <osl/zeb_routing/json.h>

#include <nlohmann/json.hpp>

#include <utility>

namespace Osl::ZebRouting {
namespace {

using Json = nlohmann::ordered_json;

/// Writes the fields of one statement into an object.
class JsonWriter
{
public:
    const Json& object() const { return m_Object; }

    void number(const NumberField& field, uint32_t value) { m_Object[Key(field.key)] = value; }
    void endpoint(const PortNaming& ports, const Endpoint& at)
    {
        if (at.isPort) {
            m_Object["phys"] = ports.nameOf(at.number);
            return;
        }
        m_Object["ip"] = CppUtil::IpAdrContainer(at.address).toString();
        number(UDP_PORT, at.number);
    }
    void mac(const Mac& mac, uint32_t) { m_Object["mac"] = toString(mac); }
    void flag(const FlagField& field, bool value) { m_Object[Key(field.key)] = value; }
    void count(uint32_t count) { number(COUNT_OR_UNIT, count); }
    void packets(const NumberField& tsi, const NumberField& pid, const Selector& packets)
    {
        number(tsi, packets.tsi);
        if (packets.isWholeTsi())
            m_Object[Key(pid.key)] = nullptr;
        else
            number(pid, packets.pid);
    }
    void destinations(const std::vector<Destination>& to, Reach)
    {
        Json list = Json::array();
        for (const Destination destination : to) {
            JsonWriter writer;
            if (destination.isOutput()) {
                writer.number(TSO, destination.tso());
                if (const auto pid = destination.newPid())
                    writer.number(PID, *pid);
            } else if (destination.isCpu()) {
                writer.number(CPU, destination.filter());
            } else {
                continue; // nowhere is an empty list
            }
            list.push_back(std::move(writer.m_Object));
        }
        m_Object["to"] = std::move(list);
    }

private:
    using Key = std::string;

    Json m_Object;
};

void append(std::string& text, const Routing& routing, std::string_view indent)
{
    text += '{';
    std::string_view before = "";
    forEachStatementKind([&]<class S>(const S& kind) {
        if (std::is_same_v<S, Filter> && !routing.hasFilters)
            return;
        text.append(before).append("\"").append(Kind<S>::JSON_KEY).append("\": [");
        std::string_view separator = "\n";
        forEachStatement(routing, kind, [&](const auto& statement) {
            JsonWriter writer;
            Kind<S>::fields(writer, statement);
            text.append(separator).append(indent).append("  ").append(writer.object().dump());
            separator = ",\n";
        });
        text += ']';
        before = indent.empty() ? ",\n " : ",\n  ";
    });
    text += '}';
}

} // namespace

std::string toJson(const Routing& routing)
{
    std::string text;
    append(text, routing, "");
    return text + '\n';
}

std::string toJson(const Difference& difference)
{
    std::string text = "{\"removed\":\n ";
    append(text, difference.removed, " ");
    text += ",\n \"added\":\n ";
    append(text, difference.added, " ");
    return text + "}\n";
}

} // namespace Osl::ZebRouting
