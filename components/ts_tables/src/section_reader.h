#pragma once

#include "dvbpsi.h"

#include <cstdint>
#include <memory>

namespace Osl::Ts {

struct SectionsDeleter
{
    void operator()(dvbpsi_psi_section_t* first) const { dvbpsi_DeletePSISections(first); }
};
/// A list of sections.
using Sections = std::unique_ptr<dvbpsi_psi_section_t, SectionsDeleter>;

struct HandleDeleter
{
    void operator()(dvbpsi_t* handle) const { dvbpsi_delete(handle); }
};
using DvbpsiHandle = std::unique_ptr<dvbpsi_t, HandleDeleter>;

/// Puts the packets of one PID together to sections. It keeps at most one section that is not whole yet.
class SectionReader
{
public:
    /// Of what is longer the standards know nothing.
    static constexpr int MAX_SECTION_BYTES = 4096;

    SectionReader();
    ~SectionReader();
    SectionReader(const SectionReader&) = delete;
    SectionReader& operator=(const SectionReader&) = delete;

    /// The sections that end in this packet, in their order; their check sums are right, where they have one, and what
    /// they hold is not examined. The packet has no transport error and is not scrambled.
    Sections push(const uint8_t* packet);

    /// Sections that were thrown away: the check sum was wrong, the length one that cannot be,
    /// or another section came before the end.
    uint64_t damaged() const { return m_Damaged; }

private:
    static void take(dvbpsi_t* handle, dvbpsi_psi_section_t* section);
    static void count(dvbpsi_t* handle, dvbpsi_msg_level_t level, const char* text);

    bool isCutBy(const uint8_t* packet) const;

    DvbpsiHandle m_Handle;
    Sections m_First;
    dvbpsi_psi_section_t* m_Last = nullptr;
    uint64_t m_Damaged = 0;
};

} // namespace Osl::Ts
