#include "pid_faults.h"

#include "fixed_pids.h"

#include <osl/ts_basics/ll_tspackets.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace Osl::Ts {
namespace {

/// Looks for PIDs that are given to two things.
class Roles
{
public:
    explicit Roles(FaultList& faults) : m_Faults(faults) {}

    /// `kind` is what the PID carries, `of` whose that is. One kind for several is fine: they share it.
    void give(uint16_t pid, const std::string& kind, const std::string& of)
    {
        const auto [place, isFirst] = m_Roles.try_emplace(pid, kind, of);
        if (!isFirst && place->second.first != kind)
            m_Faults.add("pid-twice", Weight::GRAVE, "PID 0x{:04x} is named as {}{} and as {}{}", pid,
                         place->second.first, place->second.second, kind, of);
    }

private:
    FaultList& m_Faults;
    std::map<uint16_t, std::pair<std::string, std::string>> m_Roles;
};

void findDoubledPids(FaultList& faults, const Contents& contents)
{
    Roles roles(faults);
    for (const auto& [pid, kind] : {std::pair{PAT_PID, "the PAT"},
                                    {CAT_PID, "the CAT"},
                                    {SDT_PID, "the SDT"},
                                    {EIT_PID, "the EIT"},
                                    {TDT_PID, "the TDT"},
                                    {NULL_PID, "null packets"}})
        roles.give(pid, kind, "");
    for (const CaPid& emm : contents.emms)
        roles.give(emm.pid, "EMM", "");
    for (const Service& service : contents.services) {
        const std::string of = fmt::format(" of service {}", service.number);
        roles.give(service.pmtPid, "PMT", of);
        std::set<uint16_t> own;
        for (const ElementaryStream& stream : service.streams) {
            roles.give(stream.pid, stream.kind, of);
            if (!own.insert(stream.pid).second)
                faults.add("pid-twice", Weight::GRAVE, "service {} names PID 0x{:04x} twice", service.number,
                           stream.pid);
        }
        for (const CaPid& ecm : service.ecms)
            roles.give(ecm.pid, "ECM", of);
    }
}

void findMissing(FaultList& faults, const Contents& contents, const std::vector<PidState>& states)
{
    if (!contents.transportStream && states[PAT_PID].heard)
        faults.add("no-pat", Weight::GRAVE, "{}", states[PAT_PID].packets == 0 ? "no PAT came" : "no whole PAT came");
    for (const Service& service : contents.services) {
        const PidState& pmt = states[service.pmtPid];
        if (!service.hasPmt && pmt.heard) {
            if (pmt.packets == 0)
                faults.add("pmt-silent", Weight::GRAVE, "service {}: nothing came on its PMT PID 0x{:04x}",
                           service.number, service.pmtPid);
            else
                faults.add("no-pmt", Weight::GRAVE, "service {}: its PMT did not come on PID 0x{:04x}", service.number,
                           service.pmtPid);
        }
        for (const ElementaryStream& stream : service.streams)
            if (states[stream.pid].heard && states[stream.pid].packets == 0)
                faults.add("silent", Weight::NOTE, "service {}: nothing came on PID 0x{:04x}, {}", service.number,
                           stream.pid, stream.kind);
        if (service.pcrPid && states[*service.pcrPid].heardAll && !states[*service.pcrPid].hasPcr)
            faults.add("no-pcr", Weight::GRAVE, "service {}: no PCR came on PID 0x{:04x}", service.number,
                       *service.pcrPid);
    }
}

} // namespace

std::set<uint16_t> pidsNamedBy(const Contents& contents)
{
    std::set<uint16_t> pids;
    for (const CaPid& emm : contents.emms)
        pids.insert(emm.pid);
    for (const Service& service : contents.services) {
        pids.insert(service.pmtPid);
        if (service.pcrPid)
            pids.insert(*service.pcrPid);
        for (const ElementaryStream& stream : service.streams)
            pids.insert(stream.pid);
        for (const CaPid& ecm : service.ecms)
            pids.insert(ecm.pid);
    }
    return pids;
}

void addPidFaults(FaultList& faults, const Contents& contents, const std::vector<PidState>& states)
{
    findMissing(faults, contents, states);
    findDoubledPids(faults, contents);
    for (std::size_t pid = 0; pid < states.size(); ++pid) {
        const PidState& state = states[pid];
        if (state.transportErrors > 0)
            faults.add("transport-error", Weight::GRAVE, "PID 0x{:04x}: {} packets are marked as faulty", pid,
                       state.transportErrors);
        if (state.gaps > 0)
            faults.add("continuity", Weight::GRAVE, "PID 0x{:04x}: the continuity counter jumped {} times", pid,
                       state.gaps);
        const uint64_t damaged = state.reader && state.heardAll ? state.reader->damaged() : 0;
        if (damaged > 0)
            faults.add("damaged", Weight::GRAVE, "PID 0x{:04x}: {} sections are cut or have a wrong check sum", pid,
                       damaged);
        if (state.unsound > 0)
            faults.add("damaged", Weight::GRAVE, "PID 0x{:04x}: {} sections have lengths inside that do not fit", pid,
                       state.unsound);
    }
}

} // namespace Osl::Ts
