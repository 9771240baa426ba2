#pragma once

#include "fault_list.h"
#include "table_names.h"
#include "tables.h"

#include <osl/ts_tables/contents.h>

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Osl::Ts {

/// What the tables of a stream say, from the sections that came until now.
class TableSet
{
public:
    enum class Taken {
        NOTHING_NEW, ///< known already, or of a table that is not read
        NEW,
        UNSOUND ///< its check sum is right, but what it holds does not fit together
    };

    /// Takes a section that came on a PID.
    Taken take(uint16_t pid, Sections section);

    /// The PIDs of all tables that are read; those that no table need name among them.
    std::set<uint16_t> pids() const;

    /// Sets all that tables alone tell.
    void describe(Contents& contents) const;
    /// Adds what is wrong with the tables themselves.
    void addFaults(FaultList& faults) const;

private:
    /// More services than PIDs, and more elementary streams than anybody needs, are lies.
    static constexpr std::size_t MAX_SERVICES = 8192;
    static constexpr std::size_t MAX_STREAMS = 65536;

    /// Which sections of a table came.
    struct Subtable
    {
        uint8_t version = 0;
        uint8_t last = 0;       ///< number of its last section
        uint16_t extension = 0; ///< number of what the table is about
        std::bitset<256> seen;
        uint64_t changes = 0; ///< times that it was replaced

        bool isWhole() const { return seen.count() == last + std::size_t{1}; }
    };
    /// PID, table id, and the extension, where there are several at a time.
    using Key = std::tuple<uint16_t, uint8_t, uint16_t>;

    bool isExpected(uint16_t pid, const dvbpsi_psi_section_t& section) const;
    bool isNew(uint16_t pid, const dvbpsi_psi_section_t& section);
    void forget(uint16_t pid, uint8_t tableId, uint16_t extension);
    void read(uint16_t pid, Sections section);
    void addProgram(const Program& program);
    void addMap(uint16_t number, ProgramMap map);
    std::string nameOf(const Key& key, const Subtable& table) const;

    std::map<Key, Subtable> m_Subtables;
    std::optional<uint16_t> m_Stream; ///< transport_stream_id of the PAT
    std::optional<uint16_t> m_NitPid;
    std::map<uint16_t, uint16_t> m_Programs; ///< PMT PIDs by service
    std::set<uint16_t> m_PmtPids;
    std::vector<Program> m_Doubled;        ///< services that the PAT names again, with another PID
    std::map<uint16_t, ProgramMap> m_Maps; ///< by service
    std::size_t m_StreamCount = 0;         ///< in m_Maps
    std::map<uint16_t, ServiceName> m_Names;
    std::set<uint16_t> m_SdtStreams; ///< transport_stream_ids that the SDT names
    std::optional<uint16_t> m_Network;
    std::string m_NetworkName;
    std::vector<CaPid> m_Emms;
    bool m_HasCat = false;
    bool m_LeftOut = false; ///< there was more than the limits let in
};

} // namespace Osl::Ts
