#pragma once

#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidlutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <array>
#include <cstdint>

namespace Osl::Drivers::Zeb {

/// All routing tables, each declared beside its record.
inline constexpr std::array ROUTING_TABLES{&PID_LUT, &TSI_MAP,     &FILTER_TABLE, &O_PID_MAP,
                                           &IP_LUT,  &PHYS_IN_MAP, &PHYS_OUT_MAP, &IP_OUT_MAP};

/// Status words of the PID block that the FPGA counts in, one for each index 0..255; read only.
inline constexpr uint32_t STATUS_COUNT = 256;
inline constexpr uint32_t TSI_BITRATE_BASE = 1024; ///< by TSI
inline constexpr uint32_t TSO_BITRATE_BASE = 1280; ///< by TSO
inline constexpr uint32_t STATUS_1536_BASE = 1536;

} // namespace Osl::Drivers::Zeb
