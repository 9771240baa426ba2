#pragma once

#include <osl/ts_tables/contents.h>

#include <fmt/format.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Osl::Ts {

/// Whether a fault may well be as it should.
enum class Weight { GRAVE, NOTE };

/// Faults as they are found; of one code only the first ones are told, and how many more there are.
class FaultList
{
public:
    template <class... Args>
    void add(const char* code, Weight weight, fmt::format_string<Args...> format, Args&&... args)
    {
        OfCode& all = m_ByCode[{weight, code}];
        if (++all.count <= MAX_TOLD)
            all.told.push_back(fmt::format(format, std::forward<Args>(args)...));
    }

    /// The grave ones first.
    std::vector<Fault> take() const
    {
        std::vector<Fault> faults;
        for (const auto& [kind, all] : m_ByCode) {
            const bool note = kind.first == Weight::NOTE;
            for (const std::string& text : all.told)
                faults.push_back({kind.second, note, text});
            if (all.count > MAX_TOLD)
                faults.push_back({kind.second, note, fmt::format("and {} more of this kind", all.count - MAX_TOLD)});
        }
        return faults;
    }

private:
    static constexpr std::size_t MAX_TOLD = 20;

    struct OfCode
    {
        std::size_t count = 0;
        std::vector<std::string> told;
    };
    std::map<std::pair<Weight, std::string>, OfCode> m_ByCode;
};

} // namespace Osl::Ts
