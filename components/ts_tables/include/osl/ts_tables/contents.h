#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What is in a transport stream, as plain values. All texts are UTF-8 without control characters.
namespace Osl::Ts {

/// What was heard of a PID, and what only who listens can tell of it.
struct Traffic
{
    bool heard = false;     ///< it was listened to; otherwise silence means nothing
    uint64_t packets = 0;   ///< of those that came to the listener
    uint64_t scrambled = 0; ///< packets with a scrambled payload
    bool hasPcr = false;
    std::string looksLike; ///< what its payload units look like; "" when that cannot be told

    std::optional<double> bitsPerSecond;
    std::optional<double> share;                ///< of all packets of the stream, 0..1
    std::optional<std::vector<std::string>> to; ///< where its packets go, in words; empty: nowhere
};

/// A PID with messages of a conditional-access system.
struct CaPid
{
    uint16_t pid;
    uint16_t system; ///< CA_system_id
};

struct ElementaryStream
{
    uint16_t pid;
    uint8_t type;         ///< stream_type of the PMT
    std::string kind;     ///< what that and the descriptors mean, in words
    std::string language; ///< ISO 639-2, several joined by "/"; "" when none is told
};

struct Service
{
    uint16_t number;
    std::string name;     ///< of the SDT; "" when it has none
    std::string provider; ///< likewise
    uint16_t pmtPid;
    bool hasPmt = false;            ///< its PMT was read; otherwise nothing below is known
    std::optional<uint16_t> pcrPid; ///< nullopt: the PMT says that there is none
    std::vector<ElementaryStream> streams;
    std::vector<CaPid> ecms;
};

/// A PID with tables.
struct TablePid
{
    uint16_t pid;
    std::vector<std::string> names; ///< "PAT", "EIT"; empty: none came
};

/// What is wrong with the stream.
struct Fault
{
    std::string code;
    bool note; ///< may well be as it should
    std::string text;
};

struct Contents
{
    std::optional<uint16_t> transportStream; ///< the number of the PAT
    std::optional<uint16_t> network;         ///< of the NIT
    std::string networkName;
    std::vector<Service> services; ///< in the order of their numbers
    std::vector<TablePid> tables;  ///< by PID; without the PMTs, which their services name
    std::vector<CaPid> emms;
    std::vector<uint16_t> unnamed;    ///< PIDs with packets that nothing above names, without the null packets
    std::map<uint16_t, Traffic> pids; ///< every PID that is named or has packets
    std::vector<Fault> faults;        ///< the grave ones first
};

/// For people: what belongs together in a block, a PID a line.
std::string toText(const Contents& contents);
/// One JSON document.
std::string toJson(const Contents& contents);

} // namespace Osl::Ts
