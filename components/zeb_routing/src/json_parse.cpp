#include "collector.h"
#include "json_reader.h"

#include <osl/zeb_routing/json.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace Osl::ZebRouting {
namespace {

/// How far a text is read, and on which line the character stands that was read last.
class ReadingPlace
{
public:
    explicit ReadingPlace(std::string_view text) : m_Counted(text.data()), m_At(text.data()) {}

    void moveTo(const char* at) { m_At = at; }
    std::size_t line()
    {
        if (m_At > m_Counted + 1) {
            m_Line += static_cast<std::size_t>(std::count(m_Counted, m_At - 1, '\n'));
            m_Counted = m_At - 1;
        }
        return m_Line;
    }

private:
    const char* m_Counted;
    const char* m_At;
    std::size_t m_Line = 1;
};

class WatchedIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    WatchedIterator(const char* at, ReadingPlace& place) : m_At(at), m_Place(&place) {}

    reference operator*() const { return *m_At; }
    WatchedIterator& operator++()
    {
        m_Place->moveTo(++m_At);
        return *this;
    }
    WatchedIterator operator++(int)
    {
        WatchedIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const WatchedIterator& other) const { return m_At == other.m_At; }
    bool operator!=(const WatchedIterator& other) const { return m_At != other.m_At; }

private:
    const char* m_At;
    ReadingPlace* m_Place;
};

/// Takes what the library reads. Only one statement is held at a time. The functions answer whether to go on.
class DocumentReader
{
public:
    using Json = nlohmann::json;

    DocumentReader(Collector& collector, ReadingPlace& place) : m_Collector(collector), m_Place(place) {}

    bool saysFilters() const { return m_SaysFilters; }

    bool null() { return put(valueOf(JsonValue::Type::NOTHING)); }
    bool boolean(bool flag) { return put(valueOf(JsonValue::Type::FLAG, flag ? 1 : 0)); }
    bool number_integer(Json::number_integer_t number)
    {
        return put(valueOf(JsonValue::Type::OTHER_NUMBER, 0, std::to_string(number)));
    }
    bool number_unsigned(Json::number_unsigned_t number) { return put(valueOf(JsonValue::Type::NUMBER, number)); }
    bool number_float(Json::number_float_t, const std::string& text)
    {
        return put(valueOf(JsonValue::Type::OTHER_NUMBER, 0, text));
    }
    bool string(std::string& text) { return put(valueOf(JsonValue::Type::TEXT, 0, std::move(text))); }
    bool binary(Json::binary_t&) { return false; } // not in texts
    bool start_object(std::size_t) { return open(JsonValue::Type::OBJECT); }
    bool start_array(std::size_t) { return open(JsonValue::Type::ARRAY); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool key(std::string& name)
    {
        m_Open.back().key = std::move(name);
        return m_Open.size() > 1 || beginMember(m_Open.back().key);
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error)
    {
        // "[json.exception.…] parse error at line 3, column 5: …"
        std::string_view text = error.what();
        text.remove_prefix(std::min(text.find("] ") + 2, text.size()));
        if (const std::size_t behindPlace = text.find(": "); behindPlace != std::string_view::npos)
            text.remove_prefix(behindPlace + 2);
        return stop("no JSON: " + printable(text));
    }

private:
    struct OpenValue
    {
        JsonValue value;
        std::string key; ///< of the member that is read
    };

    static constexpr std::size_t STATEMENT_DEPTH = 2; ///< inside the document and its array
    static constexpr std::size_t DEEPEST = 6;

    JsonValue valueOf(JsonValue::Type type, uint64_t number = 0, std::string text = "")
    {
        return {type, m_Place.line(), number, std::move(text), {}};
    }

    bool stop(std::string text)
    {
        m_Collector.addProblem(m_Place.line(), std::move(text));
        return false;
    }

    bool beginMember(const std::string& name)
    {
        std::vector<std::string_view> names;
        forEachStatementKind([&names]<class S>(const S&) { names.push_back(Kind<S>::JSON_KEY); });
        if (std::find(names.begin(), names.end(), name) == names.end())
            return stop(fmt::format("expected \"{}\", found {}{}", fmt::join(names, "\", \""), inQuotes(name),
                                    suggestion(name, names)));
        m_SaysFilters = m_SaysFilters || name == Kind<Filter>::JSON_KEY;
        return true;
    }

    bool takes(JsonValue::Type type)
    {
        return !m_Open.empty() || type == JsonValue::Type::OBJECT ||
               stop("expected an object with the arrays of a routing");
    }

    bool open(JsonValue::Type type)
    {
        if (!takes(type))
            return false;
        if (m_Open.size() == DEEPEST)
            return stop("a value is nested deeper than in any statement");
        m_Open.push_back({valueOf(type), ""});
        return true;
    }

    bool close()
    {
        JsonValue value = std::move(m_Open.back().value);
        m_Open.pop_back();
        return put(std::move(value));
    }

    /// Where a value goes that is complete.
    bool put(JsonValue value)
    {
        if (m_Open.empty())
            return takes(value.type);
        if (m_Open.size() == 1) {
            if (value.type != JsonValue::Type::ARRAY)
                return stop(fmt::format("{}: expected an array", inQuotes(m_Open.back().key)));
            return true;
        }
        if (m_Open.size() == STATEMENT_DEPTH)
            return m_Open.back().value.type != JsonValue::Type::ARRAY || read(value);
        m_Open.back().value.members.push_back({m_Open.back().key, std::move(value)});
        return true;
    }

    bool read(const JsonValue& element)
    {
        try {
            m_Collector.add(readStatement(m_Open.front().key, element), element.line);
        } catch (const Fault& fault) {
            m_Collector.addProblem(fault.line, fault.text);
        }
        return m_Collector.takesMore();
    }

    Collector& m_Collector;
    ReadingPlace& m_Place;
    std::vector<OpenValue> m_Open;
    bool m_SaysFilters = false;
};

} // namespace

Routing parseJson(std::string_view text)
{
    Collector collector;
    ReadingPlace place(text);
    DocumentReader reader(collector, place);
    nlohmann::json::sax_parse(WatchedIterator(text.data(), place), WatchedIterator(text.data() + text.size(), place),
                              &reader);
    Routing routing = collector.finish();
    routing.hasFilters = reader.saysFilters();
    return routing;
}

} // namespace Osl::ZebRouting
