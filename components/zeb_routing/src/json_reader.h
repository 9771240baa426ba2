#pragma once

#include "faults.h"
#include "statement.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Osl::ZebRouting {

struct JsonMember;

/// A JSON value, and the line on which it stands.
struct JsonValue
{
    enum class Type { NOTHING, FLAG, NUMBER, OTHER_NUMBER, TEXT, ARRAY, OBJECT };

    Type type = Type::NOTHING;
    std::size_t line = 0;
    uint64_t number = 0;             ///< or the flag
    std::string text;                ///< or, of another number, as it was written
    std::vector<JsonMember> members; ///< of an object; without names those of an array
};

struct JsonMember
{
    std::string name;
    JsonValue value;
};

/// Reads the members of an object as the fields of a statement. Raises Fault for what is not expected.
class JsonReader
{
public:
    explicit JsonReader(const JsonValue& object);

    /// No member must be left.
    void finish() const;

    template <class Value>
    void number(const NumberField& field, Value& value)
    {
        value = static_cast<Value>(numberIn(field));
    }
    void endpoint(const PortNaming& ports, Endpoint& at);
    void mac(Mac& mac, uint32_t address);
    void flag(const FlagField& field, bool& value);
    void count(uint32_t& count) { number(COUNT_OR_UNIT, count); }
    void packets(const NumberField& tsi, const NumberField& pid, Selector& packets);
    void destinations(std::vector<Destination>& to, Reach reach);

private:
    uint32_t numberIn(const NumberField& field);
    /// nullptr without one.
    const JsonValue* find(std::string_view key);
    const JsonValue& member(std::string_view key, std::string_view what);
    Destination destination(const JsonValue& object, Reach reach);

    const JsonValue& m_Object;
    std::vector<std::string_view> m_Known;
};

/// Reads an element of the array with this name as a statement. Raises Fault.
Statement readStatement(std::string_view arrayKey, const JsonValue& element);

} // namespace Osl::ZebRouting
