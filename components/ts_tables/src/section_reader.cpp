#include "section_reader.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace Osl::Ts {
namespace {

constexpr uint8_t NO_COUNTER_YET = 0xFF;

/// Whether the places that the library reads of a packet without looking lie in it.
bool isReadable(const uint8_t* packet)
{
    const std::size_t payload = Ll::payloadOffset(packet);
    if (payload >= TS_SIZE)
        return false;
    return !Ll::startsPayloadUnit(packet) || payload + 1U + packet[payload] < TS_SIZE;
}

} // namespace

// No exception may pass through the library: what it calls back only links, counts and allocates nothing.

void SectionReader::take(dvbpsi_t* handle, dvbpsi_psi_section_t* section)
{
    auto& reader = *static_cast<SectionReader*>(handle->p_sys);
    section->p_next = nullptr;
    if (reader.m_First)
        reader.m_Last->p_next = section;
    else
        reader.m_First.reset(section);
    reader.m_Last = section;
}

void SectionReader::count(dvbpsi_t* handle, dvbpsi_msg_level_t, const char*)
{
    ++static_cast<SectionReader*>(handle->p_sys)->m_Damaged;
}

SectionReader::SectionReader() : m_Handle(dvbpsi_new(&count, DVBPSI_MSG_ERROR))
{
    if (!m_Handle)
        throw std::bad_alloc();
    m_Handle->p_sys = this;
    m_Handle->p_decoder =
        static_cast<dvbpsi_decoder_t*>(dvbpsi_decoder_new(&take, MAX_SECTION_BYTES, false, sizeof(dvbpsi_decoder_t)));
    if (m_Handle->p_decoder == nullptr)
        throw std::bad_alloc();
}

SectionReader::~SectionReader() { dvbpsi_decoder_delete(std::exchange(m_Handle->p_decoder, nullptr)); }

/// Whether a new section starts in the packet before the one that is being read can end.
bool SectionReader::isCutBy(const uint8_t* packet) const
{
    const dvbpsi_decoder_t& decoder = *m_Handle->p_decoder;
    return decoder.p_current_section != nullptr && Ll::startsPayloadUnit(packet) &&
           packet[Ll::payloadOffset(packet)] < decoder.i_need;
}

Sections SectionReader::push(const uint8_t* packet)
{
    if (!Ll::hasPayload(packet)) // its counter stands still
        return {};
    if (!isReadable(packet)) {
        ++m_Damaged;
        return {};
    }
    const uint8_t last = m_Handle->p_decoder->i_continuity_counter;
    const bool follows = last == NO_COUNTER_YET || ((last + 1U) & 0x0FU) == Ll::continuityCounter(packet);
    if (follows && isCutBy(packet)) {
        // The library would take the next section for the rest of this one.
        dvbpsi_DeletePSISections(std::exchange(m_Handle->p_decoder->p_current_section, nullptr));
        ++m_Damaged;
    }
    const uint64_t damagedBefore = m_Damaged;

    std::array<uint8_t, TS_SIZE> copy{}; // the library wants it writable
    std::copy_n(packet, TS_SIZE, copy.begin());
    dvbpsi_packet_push(m_Handle.get(), copy.data());
    m_Handle->p_decoder->b_discontinuity = false;

    // It reports also a counter that does not follow, which is no damage to a section that came whole.
    if (!follows && m_Damaged > damagedBefore)
        --m_Damaged;
    return std::move(m_First);
}

} // namespace Osl::Ts
