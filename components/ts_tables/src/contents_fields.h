#pragma once

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_tables/contents.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a stream's contents consist of, once for all forms. A form has
///
///     field(key, text, value)     a number, word or flag; `text` is what a line says of it, with the value for "{}"
///     data(key, value)            a field that a line need not say
///     rate(key, value)            bits per second
///     words(key, list)            names
///     destinations(key, list)     where packets go, where that is known
///     remark(text)                for a line alone
///     line(key, each)             an object; `each` gives its fields to the form that it is called with
///     lines(key, heading, list, each)   likewise an array
///
/// A line says nothing of an empty word, a flag that is not set and a value that is not there; JSON has all.
namespace Osl::Ts {

template <class Form>
void trafficFields(Form& form, const Contents& contents, uint16_t pid)
{
    static const Traffic NONE;
    const auto place = contents.pids.find(pid);
    const Traffic& traffic = place == contents.pids.end() ? NONE : place->second;
    form.field("pcr", ", PCR", traffic.hasPcr);
    form.field("scrambled", ", scrambled", traffic.scrambled > 0);
    form.data("heard", traffic.heard);
    form.data("packets", traffic.packets);
    form.rate("bits_per_second", traffic.bitsPerSecond);
    form.field("percent", ", {:.2f} %", traffic.share ? std::optional(*traffic.share * 100) : std::nullopt);
    form.remark(!traffic.heard ? ", not listened to" : traffic.packets == 0 ? ", silent" : "");
    form.destinations("to", traffic.to);
}

template <class Form>
void pidFields(Form& form, const Contents& contents, uint16_t pid)
{
    form.field("pid", "0x{:04x}", std::optional(pid));
    trafficFields(form, contents, pid);
}

template <class Form>
void caLines(Form& form, const char* key, std::string_view heading, const char* text, const Contents& contents,
             const std::vector<CaPid>& list)
{
    form.lines(key, heading, list, [&](Form& row, const CaPid& one) {
        row.field("pid", "0x{:04x}", std::optional(one.pid));
        row.field("system", text, std::optional(one.system));
        trafficFields(row, contents, one.pid);
    });
}

template <class Form>
void serviceFields(Form& form, const Contents& contents, const Service& service)
{
    form.field("service", "service {}", std::optional(service.number));
    form.field("name", " \"{}\"", service.name);
    form.field("provider", " of \"{}\"", service.provider);
    form.field("pcr_pid", ", PCR on 0x{:04x}", service.pcrPid);
    const bool ownPcr = service.pcrPid && std::none_of(service.streams.begin(), service.streams.end(),
                                                       [&](const auto& one) { return one.pid == *service.pcrPid; });
    form.line("pmt", [&](Form& row) {
        row.field("pid", "0x{:04x} PMT", std::optional(service.pmtPid));
        row.data("read", service.hasPmt);
        trafficFields(row, contents, service.pmtPid);
    });
    form.lines("streams", "", service.streams, [&](Form& row, const ElementaryStream& stream) {
        row.field("pid", "0x{:04x}", std::optional(stream.pid));
        row.data("type", stream.type);
        row.field("kind", " {}", stream.kind);
        row.field("language", ", {}", stream.language);
        trafficFields(row, contents, stream.pid);
    });
    form.lines("pcr_alone", "", std::vector<uint16_t>(ownPcr ? 1 : 0, service.pcrPid.value_or(0)),
               [&](Form& row, uint16_t pid) { pidFields(row, contents, pid); });
    caLines(form, "ecms", "", " ECM of system 0x{:04x}", contents, service.ecms);
}

template <class Form>
void contentsFields(Form& form, const Contents& contents)
{
    form.field("transport_stream", "transport stream {}", contents.transportStream);
    form.field("network", ", network {}", contents.network);
    form.field("network_name", " \"{}\"", contents.networkName);
    form.lines("services", "", contents.services,
               [&](Form& row, const Service& service) { serviceFields(row, contents, service); });
    form.lines("tables", "tables", contents.tables, [&](Form& row, const TablePid& table) {
        row.field("pid", "0x{:04x}", std::optional(table.pid));
        row.words("names", table.names);
        trafficFields(row, contents, table.pid);
    });
    caLines(form, "emms", "conditional access", " EMM of system 0x{:04x}", contents, contents.emms);
    form.lines("unnamed", "named by no table", contents.unnamed, [&](Form& row, uint16_t pid) {
        row.field("pid", "0x{:04x}", std::optional(pid));
        row.field("looks_like", " {}", contents.pids.at(pid).looksLike);
        trafficFields(row, contents, pid);
    });
    const bool hasNull = contents.pids.count(NULL_PID) != 0;
    form.lines("null_packets", "null packets", std::vector<uint16_t>(hasNull ? 1 : 0, NULL_PID),
               [&](Form& row, uint16_t pid) { pidFields(row, contents, pid); });
    form.lines("faults", "faults", contents.faults, [](Form& row, const Fault& fault) {
        row.field("note", "note ", fault.note);
        row.field("code", "{}: ", fault.code);
        row.field("text", "{}", fault.text);
    });
}

} // namespace Osl::Ts
