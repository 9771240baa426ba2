#pragma once

#include "section_reader.h"

#include <osl/ts_tables/contents.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What the sections of the tables say, which the library reads.
namespace Osl::Ts {

/// Whether all the lengths in a section of a table that is read (TableId) fit into one another. The functions below
/// are for such sections alone: the library follows some lengths without looking.
bool isSound(const dvbpsi_psi_section_t& section);

struct Program
{
    uint16_t number; ///< 0: the PID is the NIT's
    uint16_t pid;
};
/// Of a section of the PAT.
std::vector<Program> readPat(Sections section);

struct ProgramMap
{
    uint16_t pid = 0; ///< it came on
    std::optional<uint16_t> pcrPid;
    std::vector<ElementaryStream> streams;
    std::vector<CaPid> ecms;
};
/// Of the section of a PMT, which has only one.
ProgramMap readPmt(Sections section);

/// Of a section of the CAT.
std::vector<CaPid> readCat(Sections section);

struct ServiceName
{
    uint16_t number;
    std::string name, provider;
};
/// Of a section of the SDT of this stream.
std::vector<ServiceName> readSdt(Sections section);

/// The network's name, of a section of the NIT of this network; "" when it has none.
std::string readNit(Sections section);

} // namespace Osl::Ts
