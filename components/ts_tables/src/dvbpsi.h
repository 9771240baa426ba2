#pragma once

// The headers of libdvbpsi, which need each other in this order and can be read only once.
#include <cstddef>
#include <cstdint>
#include <sys/types.h>
// clang-format off
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/pat.h>
#include <dvbpsi/cat.h>
#include <dvbpsi/pmt.h>
#include <dvbpsi/nit.h>
#include <dvbpsi/sdt.h>
// clang-format on
