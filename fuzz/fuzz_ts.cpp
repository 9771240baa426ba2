// Any bytes as a transport stream: through the sync check, the repairs of a loop and the segmenting writer, which must
// hand on every packet exactly once and in order, whatever the packets say.

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/log.h>
#include <osl/ts_basics/tspacket.h>
#include <osl/ts_streaming/outputs/pcrsegwriter.h>
#include <osl/ts_streaming/processing/sync_guard.h>
#include <osl/ts_streaming/processing/tsccfixer.h>
#include <osl/ts_streaming/processing/tspcrwrapper.h>

#include <algorithm>
#include <cstring>
#include <vector>

using namespace Osl::Ts;
using namespace Osl::Ts::Streaming;

namespace {

struct Collector : PcrSegmentingWriter::HwWriter
{
    explicit Collector(std::vector<uint8_t>& stream) : m_Stream(stream) {}
    ssize_t write(const uint8_t* segment, std::size_t bytes, uint64_t durationTicks) override
    {
        OSL_ASSERT(bytes > 0 && bytes % TS_SIZE == 0 && durationTicks <= UINT32_MAX);
        m_Stream.insert(m_Stream.end(), segment, segment + bytes);
        return static_cast<ssize_t>(bytes);
    }
    std::vector<uint8_t>& m_Stream;
};

void readFields(uint8_t* packet)
{
    const ShrdBuffIO_TSPacket view(std::shared_ptr<uint8_t[]>(packet, [](uint8_t*) {}), TS_SIZE);
    OSL_ASSERT(view.payload() >= view.tsData() && view.payload() <= view.tsData() + TS_SIZE);
    OSL_ASSERT(view.pid() <= NULL_PID && view.continuityCounter() < 16);
    if (view.hasPcr())
        OSL_ASSERT(view.pcr() < PCR_RANGE + 512);
}

} // namespace

// The first byte says how many packets make a pass and how large the buffers are; each packet is given its sync byte,
// so that not all inputs end at once.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Osl::CppUtil::Log::setUp(Osl::CppUtil::Log::Level::CRITICAL);
    if (size < 1 + TS_SIZE)
        return 0;
    const std::size_t packetsPerPass = data[0] & 7;
    const std::size_t bufferSize = (1U + (data[0] >> 3 & 7)) * TS_SIZE;
    std::vector<uint8_t> stream(data + 1, data + 1 + (size - 1) / TS_SIZE * TS_SIZE);
    for (std::size_t at = 0; at < stream.size(); at += TS_SIZE) {
        if (stream[at] != 0)
            stream[at] = SYNC_BYTE;
        readFields(&stream[at]);
    }

    SyncGuard chain(std::make_unique<TsCcFixer>(std::make_unique<TsPcrWrapper>(nullptr, packetsPerPass)));
    std::vector<uint8_t> sent;
    PcrSegmentingWriter writer(std::make_unique<Collector>(sent));
    std::size_t processed = 0;
    try {
        while (processed < stream.size()) {
            const auto buffer = std::span(stream).subspan(processed, std::min(bufferSize, stream.size() - processed));
            const auto packets = chain.process(buffer);
            processed += packets.size();
            writer.write(packets);
        }
    } catch (const TsError&) {
        // Sync was lost.
    }
    writer.finish();
    OSL_ASSERT(sent.size() == processed && std::equal(sent.begin(), sent.end(), stream.begin()));
    return 0;
}
