#pragma once

#include <string>

namespace Osl::Testing {

/// The text of the `Kind` that `step` raises; errors of other kinds pass through.
template <class Kind, class Step>
std::string failureOf(const Step& step)
{
    try {
        step();
    } catch (const Kind& error) {
        return error.what();
    }
    return "nothing raised";
}

} // namespace Osl::Testing
