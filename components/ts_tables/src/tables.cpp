#include "tables.h"

#include "dvb_text.h"
#include "stream_kinds.h"
#include "table_names.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>
#include <utility>

namespace Osl::Ts {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr std::size_t CHECK_SUM_BYTES = 4;
constexpr uint16_t LENGTH_MASK = 0x0FFF;
constexpr uint16_t PID_MASK = 0x1FFF;

uint16_t readWord(Bytes bytes) { return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]); }

/// Walks along what a section holds, for as long as each part fits into the rest.
class Walk
{
public:
    explicit Walk(const dvbpsi_psi_section_t& section) : m_Left(section.p_payload_start, section.p_payload_end) {}

    void skip(std::size_t bytes)
    {
        m_Fits = m_Fits && bytes <= m_Left.size();
        m_Left = m_Left.subspan(m_Fits ? bytes : m_Left.size());
    }
    /// A part whose last two bytes are the length of the descriptors that follow.
    void part(std::size_t bytes)
    {
        const Bytes head = m_Left;
        skip(bytes);
        if (!m_Fits)
            return;
        const std::size_t length = readWord(head.subspan(bytes - 2)) & LENGTH_MASK;
        const Bytes all = m_Left;
        skip(length);
        if (m_Fits)
            descriptors(all.first(length));
    }
    void parts(std::size_t bytes)
    {
        while (m_Fits && !m_Left.empty())
            part(bytes);
    }
    void descriptors(Bytes all)
    {
        while (m_Fits && !all.empty()) {
            m_Fits = all.size() >= 2 && all.size() >= 2U + all[1];
            all = all.subspan(m_Fits ? 2U + all[1] : all.size());
        }
    }
    Bytes left() const { return m_Left; }
    bool fits() const { return m_Fits; }

private:
    Bytes m_Left;
    bool m_Fits = true;
};

/// Reads one section, as if it were all of its table, with the decoder of the library that `attach` puts on a handle.
/// Answers what the decoder makes of it; null when that is nothing.
template <class Table, void (*DELETE)(Table*), void (*DETACH)(dvbpsi_t*), class Attach>
auto decode(Sections section, const Attach& attach)
{
    struct Deleter
    {
        void operator()(Table* table) const { DELETE(table); }
    };
    struct Detacher
    {
        void operator()(dvbpsi_t* handle) const
        {
            if (handle->p_decoder != nullptr)
                DETACH(handle);
            dvbpsi_delete(handle);
        }
    };
    section->i_number = section->i_last_number = 0;
    Table* taken = nullptr;
    void (*const take)(void*, Table*) = [](void* place, Table* table) { *static_cast<Table**>(place) = table; };
    const std::unique_ptr<dvbpsi_t, Detacher> handle(dvbpsi_new(nullptr, DVBPSI_MSG_NONE));
    if (!handle || !attach(handle.get(), take, static_cast<void*>(&taken)))
        throw std::bad_alloc();
    handle->p_decoder->pf_gather(handle.get(), section.release());
    return std::unique_ptr<Table, Deleter>(taken);
}

std::vector<Descriptor> listOf(const dvbpsi_descriptor_t* first)
{
    std::vector<Descriptor> list;
    for (const auto* one = first; one != nullptr; one = one->p_next)
        list.push_back({one->i_tag, {one->p_data, one->i_length}});
    return list;
}

// The library's own decoders of descriptors trust lengths inside them, so their bytes are read here.

/// Adds the PIDs of the descriptors of conditional access (ISO/IEC 13818-1, 2.6.16), each once.
void addCaPids(std::vector<CaPid>& list, const std::vector<Descriptor>& descriptors)
{
    constexpr uint8_t CA = 0x09;
    for (const Descriptor& descriptor : descriptors) {
        if (descriptor.tag != CA || descriptor.bytes.size() < 4)
            continue;
        const CaPid found{static_cast<uint16_t>(readWord(descriptor.bytes.subspan(2)) & PID_MASK),
                          readWord(descriptor.bytes)};
        if (std::none_of(list.begin(), list.end(),
                         [&](const CaPid& one) { return one.pid == found.pid && one.system == found.system; }))
            list.push_back(found);
    }
}

/// Cuts off the text that the rest starts with, behind a byte with its length; what there is of one that is too long.
Bytes takeText(Bytes& rest)
{
    if (rest.empty())
        return {};
    const std::size_t length = std::min<std::size_t>(rest[0], rest.size() - 1);
    const Bytes text = rest.subspan(1, length);
    rest = rest.subspan(1 + length);
    return text;
}

/// What the library wants before a table that shares its PID with others. Other tables are none of its business here.
bool attachDemux(dvbpsi_t* handle)
{
    return dvbpsi_AttachDemux(
        handle, [](dvbpsi_t*, uint8_t, uint16_t, void*) {}, nullptr);
}

} // namespace

bool isSound(const dvbpsi_psi_section_t& section)
{
    constexpr std::size_t MAX_LENGTH = 1021; // of the tables that are read
    const std::size_t least = static_cast<std::size_t>(section.p_payload_start - section.p_data) - 3 + CHECK_SUM_BYTES;
    if (!section.b_syntax_indicator || section.i_length < least || section.i_length > MAX_LENGTH ||
        section.i_number > section.i_last_number)
        return false;
    Walk walk(section);
    switch (section.i_table_id) {
    case PAT:
        return walk.left().size() % 4 == 0;
    case CAT:
        walk.descriptors(walk.left());
        break;
    case PMT:
        walk.part(4);
        walk.parts(5);
        return walk.fits() && section.i_last_number == 0;
    case SDT:
        walk.skip(3);
        walk.parts(5);
        break;
    case NIT:
        walk.part(2);
        walk.skip(2); // the length of all the rest
        walk.parts(6);
        break;
    default:
        return false;
    }
    return walk.fits();
}

std::vector<Program> readPat(Sections section)
{
    const auto pat = decode<dvbpsi_pat_t, dvbpsi_pat_delete, dvbpsi_pat_detach>(
        std::move(section),
        [](auto* handle, auto take, void* place) { return dvbpsi_pat_attach(handle, take, place); });
    std::vector<Program> programs;
    for (const auto* one = pat ? pat->p_first_program : nullptr; one != nullptr; one = one->p_next)
        programs.push_back({one->i_number, one->i_pid});
    return programs;
}

ProgramMap readPmt(Sections section)
{
    const uint16_t number = section->i_extension;
    const auto pmt = decode<dvbpsi_pmt_t, dvbpsi_pmt_delete, dvbpsi_pmt_detach>(
        std::move(section),
        [number](auto* handle, auto take, void* place) { return dvbpsi_pmt_attach(handle, number, take, place); });
    ProgramMap map;
    if (!pmt)
        return map;
    if (pmt->i_pcr_pid != NULL_PID)
        map.pcrPid = pmt->i_pcr_pid;
    addCaPids(map.ecms, listOf(pmt->p_first_descriptor));
    for (const auto* one = pmt->p_first_es; one != nullptr; one = one->p_next) {
        const std::vector<Descriptor> descriptors = listOf(one->p_first_descriptor);
        map.streams.push_back(
            {one->i_pid, one->i_type, std::string(streamKind(one->i_type, descriptors)), languages(descriptors)});
        addCaPids(map.ecms, descriptors);
    }
    return map;
}

std::vector<CaPid> readCat(Sections section)
{
    const auto cat = decode<dvbpsi_cat_t, dvbpsi_cat_delete, dvbpsi_cat_detach>(
        std::move(section),
        [](auto* handle, auto take, void* place) { return dvbpsi_cat_attach(handle, take, place); });
    std::vector<CaPid> emms;
    if (cat)
        addCaPids(emms, listOf(cat->p_first_descriptor));
    return emms;
}

std::vector<ServiceName> readSdt(Sections section)
{
    constexpr uint8_t SERVICE = 0x48;
    const uint16_t stream = section->i_extension;
    const auto sdt = decode<dvbpsi_sdt_t, dvbpsi_sdt_delete, dvbpsi_DetachDemux>(
        std::move(section), [stream](auto* handle, auto take, void* place) {
            return attachDemux(handle) && dvbpsi_sdt_attach(handle, SDT, stream, take, place);
        });
    std::vector<ServiceName> names;
    for (const auto* one = sdt ? sdt->p_first_service : nullptr; one != nullptr; one = one->p_next) {
        ServiceName name{one->i_service_id, {}, {}};
        for (const Descriptor& descriptor : listOf(one->p_first_descriptor)) {
            if (descriptor.tag != SERVICE || descriptor.bytes.empty())
                continue;
            Bytes rest = descriptor.bytes.subspan(1); // behind the type of the service
            name.provider = dvbText(takeText(rest));
            name.name = dvbText(takeText(rest));
        }
        names.push_back(std::move(name));
    }
    return names;
}

std::string readNit(Sections section)
{
    constexpr uint8_t NETWORK_NAME = 0x40;
    const uint16_t network = section->i_extension;
    const auto nit = decode<dvbpsi_nit_t, dvbpsi_nit_delete, dvbpsi_DetachDemux>(
        std::move(section), [network](auto* handle, auto take, void* place) {
            return attachDemux(handle) && dvbpsi_nit_attach(handle, NIT, network, take, place);
        });
    for (const Descriptor& descriptor : listOf(nit ? nit->p_first_descriptor : nullptr))
        if (descriptor.tag == NETWORK_NAME)
            return dvbText(descriptor.bytes);
    return {};
}

} // namespace Osl::Ts
