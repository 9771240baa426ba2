#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/tables.h>
#include <osl/zeb_routing/translation.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <set>

namespace Osl::Testing {

/// Routings and tables that are the same for the same seed.
class RandomRoutings
{
public:
    explicit RandomRoutings(uint32_t seed) : m_Random(seed) {}

    uint32_t below(uint32_t end) { return static_cast<uint32_t>(m_Random() % end); }
    bool once(uint32_t in) { return below(in) == 0; }

    /// Few or many facts that do not contradict one another, with everything that statements can say.
    ZebRouting::Routing routing()
    {
        using namespace ZebRouting;
        const uint32_t tsis = 1 + below(once(2) ? 4 : 256); // crowded or spread
        const uint32_t tsos = 1 + below(once(2) ? 4 : 256);
        std::map<Endpoint, uint8_t> inputs;
        for (uint32_t i = below(64); i > 0; --i) {
            inputs[group()] = static_cast<uint8_t>(below(256));
            inputs[Endpoint::port(static_cast<uint8_t>(below(64)))] = static_cast<uint8_t>(below(255));
        }
        Routing facts;
        for (const auto& [from, tsi] : inputs)
            facts.inputs.push_back({tsi, from});
        std::set<uint8_t> used;
        for (uint32_t i = below(64); i > 0; --i)
            used.insert(static_cast<uint8_t>(below(tsos)));
        for (const uint8_t tso : used) {
            if (once(2))
                facts.outputs.push_back({.tso = tso, .to = Endpoint::port(static_cast<uint8_t>(below(32)))});
            if (!once(3))
                facts.outputs.push_back(ipOutput(tso));
        }
        for (uint32_t filter = 0; filter < 255; ++filter)
            if (once(8))
                facts.filters.push_back({static_cast<uint8_t>(filter), 1 + below(255)});
        addRoutes(facts, tsis, tsos);
        std::set<uint16_t> lists;
        for (uint32_t i = below(8); i > 0; --i)
            lists.insert(static_cast<uint16_t>(1 + below(4095)));
        for (const uint16_t list : lists)
            for (const Destination to : outputs(tsos, 1 + below(3)))
                facts.lists.push_back({list, to});
        forEachKind([&facts](auto kind) { std::sort((facts.*kind).begin(), (facts.*kind).end()); });
        return facts;
    }

    /// Tables of such a routing in which somebody then wrote: any words, loops, shared and doubled rows, no order.
    ZebRouting::Tables rubbish()
    {
        using namespace ZebRouting;
        namespace Zeb = Drivers::Zeb;
        Tables tables = compile(routing());
        for (const Zeb::TableLayout* table : {&Zeb::PID_LUT, &Zeb::O_PID_MAP, &Zeb::TSI_MAP, &Zeb::FILTER_TABLE,
                                              &Zeb::IP_LUT, &Zeb::PHYS_IN_MAP, &Zeb::IP_OUT_MAP, &Zeb::PHYS_OUT_MAP}) {
            const uint32_t changes = once(3) ? 0 : below(once(4) ? table->rows * 2 : 8);
            for (uint32_t i = 0; i < changes; ++i) {
                std::vector<uint32_t> words(table->wordsPerRow);
                for (uint32_t& word : words)
                    word = static_cast<uint32_t>(m_Random());
                const auto copied = tables.row(*table, below(table->rows));
                if (once(4))
                    words.assign(copied.begin(), copied.end());
                tables.setRow(*table, below(table->rows), words);
            }
        }
        return tables;
    }

private:
    ZebRouting::Endpoint group()
    {
        const uint32_t address = once(8) ? static_cast<uint32_t>(m_Random()) : 0xEF010100 + below(8);
        return ZebRouting::Endpoint::ip(address, static_cast<uint16_t>(once(2) ? 1234 : below(65536)));
    }

    ZebRouting::Output ipOutput(uint8_t tso)
    {
        const ZebRouting::Endpoint to = group();
        auto mac = ZebRouting::multicastMac(to.address).value_or(ZebRouting::Mac{1, 2, 3, 4, 5, 6});
        if (once(8))
            mac[5] ^= 1;
        return {.tso = tso, .to = to, .mac = mac, .rtp = once(2), .enabled = !once(3)};
    }

    std::set<ZebRouting::Destination> outputs(uint32_t tsos, uint32_t count)
    {
        using ZebRouting::Destination;
        std::set<Destination> to;
        for (; count > 0; --count) {
            const auto tso = static_cast<uint8_t>(below(tsos));
            to.insert(once(2) ? Destination::output(tso)
                              : Destination::output(tso, static_cast<uint16_t>(below(8192))));
        }
        return to;
    }

    void addRoutes(ZebRouting::Routing& facts, uint32_t tsis, uint32_t tsos)
    {
        using namespace ZebRouting;
        std::set<Selector> all;
        for (uint32_t i = below(once(4) ? 1200 : 60); i > 0; --i) {
            const auto pid = static_cast<uint16_t>(once(8)   ? Selector::ALL_PIDS
                                                   : once(8) ? 8191
                                                             : below(once(2) ? 4 : 8192));
            all.insert({static_cast<uint8_t>(below(tsis)), pid});
        }
        all.erase({255, 8191}); // unused rows look like this
        for (const Selector& packets : all) {
            auto to = outputs(tsos, packets.isWholeTsi() ? 1 + below(3) : below(4));
            if (!packets.isWholeTsi() && once(3))
                to.insert(Destination::cpu(static_cast<uint8_t>(once(2) ? 255 : below(255))));
            if (to.empty())
                to.insert(Destination::drop());
            for (const Destination destination : to)
                facts.routes.push_back({packets, destination});
        }
    }

    std::mt19937 m_Random;
};

} // namespace Osl::Testing
