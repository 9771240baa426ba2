#pragma once

#include <osl/cpputils/error.h>

namespace Osl::Drivers {

struct DriverError : CppUtil::PrefixedError<"Driver (user space) error: ">
{
    using PrefixedError::PrefixedError;
};

namespace Zeb {

struct ZebDriverError : CppUtil::PrefixedError<"ZEB Driver (user space) error: ", DriverError>
{
    using PrefixedError::PrefixedError;
};

} // namespace Zeb
} // namespace Osl::Drivers
