#include "contents_fields.h"

#include <osl/ts_basics/bit_rate.h>

#include <fmt/format.h>

#include <utility>

namespace Osl::Ts {
namespace {

/// What belongs to a line stands below it, moved in.
class TextForm
{
public:
    template <class Value>
    void field(const char*, std::string_view text, const std::optional<Value>& value)
    {
        if (value)
            m_Line += fmt::format(fmt::runtime(text), *value);
    }
    void field(const char*, std::string_view text, const std::string& value)
    {
        if (!value.empty())
            m_Line += fmt::format(fmt::runtime(text), value);
    }
    void field(const char*, std::string_view text, bool value) { m_Line += value ? text : ""; }
    template <class Value>
    void data(const char*, const Value&)
    {
    }
    void rate(const char*, const std::optional<double>& value)
    {
        if (value)
            m_Line += ", " + bitRateText(*value);
    }
    void words(const char*, const std::vector<std::string>& list)
    {
        m_Line += fmt::format(" {}", fmt::join(list, ", "));
    }
    void destinations(const char*, const std::optional<std::vector<std::string>>& list)
    {
        if (list)
            m_Line += list->empty() ? ", dropped" : fmt::format(", to {}", fmt::join(*list, " "));
    }
    void remark(std::string_view text) { m_Line += text; }
    template <class Each>
    void line(const char*, const Each& each)
    {
        start(m_Level);
        const unsigned before = std::exchange(m_Level, m_Level + 1);
        each(*this);
        m_Level = before;
    }
    template <class List, class Each>
    void lines(const char* key, std::string_view heading, const List& list, const Each& each)
    {
        if (list.empty())
            return;
        const unsigned before = m_Level;
        if (!heading.empty()) {
            start(m_Level++);
            m_Line += heading;
        }
        for (const auto& one : list)
            line(key, [&](TextForm& form) { each(form, one); });
        m_Level = before;
    }

    std::string take()
    {
        start(0);
        return std::move(m_Text);
    }

private:
    /// Starts a line behind what there is of the last one.
    void start(unsigned level)
    {
        if (m_Line.find_first_not_of(' ') != std::string::npos)
            m_Text += m_Line + '\n';
        m_Line.assign(std::size_t{2} * level, ' ');
    }

    std::string m_Text;
    std::string m_Line;
    unsigned m_Level = 0;
};

} // namespace

std::string toText(const Contents& contents)
{
    TextForm form;
    contentsFields(form, contents);
    return form.take();
}

} // namespace Osl::Ts
