#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_tables/stream_listener.h>

namespace Osl::Ts {

class StreamListener::Impl
{
public:
    explicit Impl(Hearing) {}
    Contents contents;
};

StreamListener::StreamListener(Hearing atFirst) : m_Impl(std::make_unique<Impl>(atFirst)) {}
StreamListener::~StreamListener() = default;

void StreamListener::hear(uint16_t pid, Hearing hearing)
{
    m_Impl->contents.pids[pid].heard |= hearing != Hearing::NOTHING;
}

bool StreamListener::push(const uint8_t* packet)
{
    ++m_Impl->contents.pids[Ll::pid(packet)].packets;
    return false;
}

std::vector<uint16_t> StreamListener::tablePids() const { return {0, 1, 0x10, 0x11, 0x12, 0x14}; }
std::vector<uint16_t> StreamListener::namedPids() const { return tablePids(); }

Contents StreamListener::contents() const { return m_Impl->contents; }

} // namespace Osl::Ts
