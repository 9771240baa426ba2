#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/problems.h>
#include <osl/zeb_routing/tables.h>

#include <string_view>

namespace Osl::ZebRouting {

/// A routing in both its forms.
struct Source
{
    Tables tables;
    Routing routing;

    /// Of tables, as they are.
    static Source of(Tables tables);
};

/// Reads the bytes of a file: an image, statements or JSON, whatever it is. Raises SourceError for a file that is none
/// of them, saying why for the kind that it most looks like, and RoutingError for facts that no tables can hold.
Source parseSource(std::string_view bytes);

} // namespace Osl::ZebRouting
