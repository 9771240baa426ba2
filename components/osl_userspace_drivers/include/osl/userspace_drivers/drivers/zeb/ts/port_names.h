#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Osl::Drivers::Zeb {

using PortNames = std::map<std::string, uint32_t>;

// Names of the ports that the board has, and their indices. Not every index has a name.
const PortNames& physicalInputs();  ///< by PHYIIDX
const PortNames& physicalOutputs(); ///< by PHYOIDX
const PortNames& mediaPlayers();

// Index of the port with the given number; raises std::out_of_range where there is none.
uint32_t tunerIndex(uint32_t number);
uint32_t camInputIndex(uint32_t number);
uint32_t scmInputIndex(uint32_t number);
uint32_t modulatorIndex(uint32_t number);
uint32_t camOutputIndex(uint32_t number);
uint32_t scmOutputIndex(uint32_t number);
uint32_t mediaPlayerIndex(uint32_t number);

} // namespace Osl::Drivers::Zeb
