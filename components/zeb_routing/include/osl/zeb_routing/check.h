#pragma once

#include <osl/zeb_routing/source.h>

#include <string>
#include <vector>

namespace Osl::ZebRouting {

struct Finding
{
    std::string code; ///< "no-output", …
    bool note;        ///< worth knowing, but nothing that must be wrong
    std::string text;
};

/// What may be wrong with a routing or its tables.
std::vector<Finding> check(const Source& source);

/// "CODE: text" or "note CODE: text", a finding a line.
std::string toText(const std::vector<Finding>& findings);
/// [{"code":…,"note":false,"text":…}]
std::string toJson(const std::vector<Finding>& findings);

} // namespace Osl::ZebRouting
