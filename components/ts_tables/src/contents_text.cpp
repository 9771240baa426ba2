#include <osl/ts_tables/contents.h>

namespace Osl::Ts {

std::string toText(const Contents&) { return {}; }
std::string toJson(const Contents&) { return {}; }

} // namespace Osl::Ts
