#include <osl/ts_basics/ll_pes.h>

namespace Osl::Ts::Ll {
namespace {

/// Whether the header goes on behind its length.
bool hasOptionalHeader(uint8_t streamId)
{
    switch (streamId) {
    case 0xBC: // program stream map
    case 0xBE: // padding
    case 0xBF: // private stream 2
    case 0xF0: // ECM
    case 0xF1: // EMM
    case 0xF2: // DSM-CC
    case 0xF8: // ITU-T H.222.1 type E
    case 0xFF: // program stream directory
        return false;
    default:
        return true;
    }
}

std::size_t stampCount(const uint8_t* b)
{
    if (b[0] != 0 || b[1] != 0 || b[2] != 1 || !hasOptionalHeader(b[3]) || (b[6] & 0xC0) != 0x80)
        return 0;
    const std::size_t count = b[7] >> 6 == 3 ? 2 : b[7] >> 6 == 2 ? 1 : 0;
    return b[8] >= count * STAMP_SIZE ? count : 0;
}

} // namespace

PesStamps findStamps(const uint8_t* packet)
{
    PesStamps stamps{.offset = payloadOffset(packet)};
    if (stamps.offset + PES_HEADER_SIZE > TS_SIZE)
        return stamps;
    stamps.count = stampCount(packet + stamps.offset);
    stamps.cut = stamps.at(stamps.count) > TS_SIZE;
    if (stamps.cut)
        stamps.count = 0;
    return stamps;
}

} // namespace Osl::Ts::Ll
