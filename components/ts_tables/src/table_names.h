#pragma once

#include <cstdint>
#include <string_view>

namespace Osl::Ts {

/// The tables that are read, not only named.
enum TableId : uint8_t { PAT = 0x00, CAT = 0x01, PMT = 0x02, NIT = 0x40, SDT = 0x42 };

/// What a table id stands for; "" when it is nothing known.
std::string_view tableName(uint8_t tableId);

} // namespace Osl::Ts
