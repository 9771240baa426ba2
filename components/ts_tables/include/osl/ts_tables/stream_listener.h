#pragma once

#include <osl/ts_tables/contents.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace Osl::Ts {

/// How much of a PID comes to a listener.
enum class Hearing : uint8_t {
    NOTHING,
    SAMPLES,   ///< some of its packets
    EVERYTHING ///< each packet; what is missing is a fault of the stream
};

/// Is fed the packets of one transport stream and says what is in it, whatever bytes they hold: memory and time for a
/// packet stay within bounds.
class StreamListener
{
public:
    /// `atFirst` holds for every PID until hear() says otherwise. With EVERYTHING the packets are taken for the whole
    /// stream, so that shares and rates can be told.
    explicit StreamListener(Hearing atFirst);
    ~StreamListener();
    StreamListener(const StreamListener&) = delete;
    StreamListener& operator=(const StreamListener&) = delete;

    /// From now on so much of the PID comes. Has to be called before packets are left out that came until then.
    void hear(uint16_t pid, Hearing hearing);

    /// Takes a packet of TS_SIZE bytes. True when a new table was read: then tablePids() and namedPids() may have
    /// grown.
    bool push(const uint8_t* packet);

    /// The PIDs known to carry tables, all of whose packets are needed; ascending. Those that the standards fix are
    /// among them from the start.
    std::vector<uint16_t> tablePids() const;
    /// The PIDs that tables name, those of tablePids() included; ascending.
    std::vector<uint16_t> namedPids() const;

    /// What is known by now.
    Contents contents() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_Impl;
};

} // namespace Osl::Ts
