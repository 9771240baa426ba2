#pragma once

#include <osl/ts_streaming/interfaces.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

/// Offset of the first of the packets in `data` that has no sync byte; the size of `data` when all have one.
std::size_t findLostSync(std::span<const uint8_t> data);

/// The head of a chain that ends a stream where it loses sync: packets before that go on, then TsError is raised.
class SyncGuard : public ITsProcessChain
{
public:
    /// `next` may be null.
    explicit SyncGuard(std::unique_ptr<ITsProcessChain> next);

    /// Returns fewer packets than it was given when sync is lost among them.
    std::span<uint8_t> process(std::span<uint8_t> buffer) override;

    /// Raises when sync was lost in the last buffer, which process() could not tell yet.
    void check() const;

private:
    std::unique_ptr<ITsProcessChain> m_Next;
    uint64_t m_Offset = 0; ///< bytes that had sync
    bool m_Lost = false;
    uint8_t m_BadByte = 0;
};

} // namespace Osl::Ts::Streaming
