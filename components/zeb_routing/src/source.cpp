#include "faults.h"

#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>
#include <osl/zeb_routing/json.h>
#include <osl/zeb_routing/source.h>
#include <osl/zeb_routing/text.h>
#include <osl/zeb_routing/translation.h>

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace Osl::ZebRouting {
namespace {

constexpr std::size_t IMAGE_BYTES = Drivers::Zeb::IMAGE_BYTES;

std::optional<Tables> imageIn(std::string_view bytes)
{
    if (bytes.size() != IMAGE_BYTES)
        return std::nullopt;
    try {
        return Tables::fromImage({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    } catch (const CppUtil::InvalidArgumentError&) {
        return std::nullopt;
    }
}

/// No text that anybody writes has bytes of 0; every image has many.
bool looksLikeAnImage(std::string_view bytes) { return bytes.find('\0') != std::string_view::npos; }

bool looksLikeJson(std::string_view bytes)
{
    const std::size_t first = bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return first != std::string_view::npos && (bytes[first] == '{' || bytes[first] == '[');
}

} // namespace

Source Source::of(Tables tables)
{
    Routing routing = factsOf(tables);
    return {std::move(tables), std::move(routing)};
}

Source parseSource(std::string_view bytes)
{
    if (auto image = imageIn(bytes))
        return Source::of(std::move(*image));
    if (looksLikeAnImage(bytes)) {
        const std::string why = bytes.size() == IMAGE_BYTES ? "a damaged table image: its check sum is wrong"
                                                            : fmt::format("no table image, which has {} bytes, but {}",
                                                                          IMAGE_BYTES, bytes.size());
        OSL_RAISE(SourceError, Problem::ofWhole(why));
    }
    Routing routing = looksLikeJson(bytes) ? parseJson(bytes) : parseText(bytes);
    Tables tables = compile(routing);
    return {std::move(tables), std::move(routing)};
}

} // namespace Osl::ZebRouting
