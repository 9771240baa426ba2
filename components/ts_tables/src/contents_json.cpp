#include "contents_fields.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <utility>

namespace Osl::Ts {
namespace {

using Json = nlohmann::ordered_json;

class JsonForm
{
public:
    template <class Value>
    void field(const char* key, std::string_view, const std::optional<Value>& value)
    {
        m_Object[key] = value ? Json(*value) : Json();
    }
    void field(const char* key, std::string_view, const std::string& value)
    {
        m_Object[key] = value.empty() ? Json() : Json(value);
    }
    void field(const char* key, std::string_view, bool value) { m_Object[key] = value; }
    template <class Value>
    void data(const char* key, const Value& value)
    {
        m_Object[key] = value;
    }
    void rate(const char* key, const std::optional<double>& value)
    {
        m_Object[key] = value ? Json(std::llround(*value)) : Json();
    }
    void words(const char* key, const std::vector<std::string>& list) { m_Object[key] = list; }
    void destinations(const char* key, const std::optional<std::vector<std::string>>& list)
    {
        m_Object[key] = list ? Json(*list) : Json();
    }
    void remark(std::string_view) {}
    template <class Each>
    void line(const char* key, const Each& each)
    {
        m_Object[key] = objectOf(each);
    }
    template <class List, class Each>
    void lines(const char* key, std::string_view, const List& list, const Each& each)
    {
        Json array = Json::array();
        for (const auto& one : list)
            array.push_back(objectOf([&](JsonForm& form) { each(form, one); }));
        m_Object[key] = std::move(array);
    }

    std::string text() const { return m_Object.dump() + '\n'; }

private:
    template <class Each>
    static Json objectOf(const Each& each)
    {
        JsonForm form;
        each(form);
        return std::move(form.m_Object);
    }

    Json m_Object = Json::object();
};

} // namespace

std::string toJson(const Contents& contents)
{
    JsonForm form;
    contentsFields(form, contents);
    return form.text();
}

} // namespace Osl::Ts
