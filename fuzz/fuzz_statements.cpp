// Statements of a routing, as text.

#include <osl/cpputils/assertion.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/text.h>

using namespace Osl::ZebRouting;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const Routing facts = parseText(text);
        const std::string canonical = toText(facts);
        OSL_ASSERT(parseText(canonical) == facts);
        OSL_ASSERT(toText(parseText(canonical)) == canonical);
        const Source source = parseSource(canonical);
        OSL_ASSERT(Source::of(source.tables).routing == facts);
    } catch (const SourceError& error) {
        OSL_ASSERT(!error.problems().empty() && error.problems().size() <= MAX_PROBLEMS);
    } catch (const RoutingError&) { // more facts than rows
    }
    return 0;
}
