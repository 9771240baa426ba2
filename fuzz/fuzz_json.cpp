// A routing as JSON.

#include <osl/cpputils/assertion.h>
#include <osl/zeb_routing/json.h>

using namespace Osl::ZebRouting;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const Routing facts = parseJson(text);
        const std::string canonical = toJson(facts);
        OSL_ASSERT(parseJson(canonical) == facts);
        OSL_ASSERT(toJson(parseJson(canonical)) == canonical);
    } catch (const SourceError& error) {
        OSL_ASSERT(!error.problems().empty() && error.problems().size() <= MAX_PROBLEMS);
    }
    return 0;
}
