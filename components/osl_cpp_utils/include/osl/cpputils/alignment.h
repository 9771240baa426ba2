#pragma once

#include <cstddef>
#include <cstdint>

namespace Osl::CppUtil {

/// Whether `address` is a multiple of `bytes`. Named as the assertions that use it are printed.
inline bool is_aligned(const void* address, std::size_t bytes)
{
    return reinterpret_cast<uintptr_t>(address) % bytes == 0;
}

} // namespace Osl::CppUtil
