#pragma once

#include <osl/ts_streaming/inputs/loop_seam.h>
#include <osl/ts_streaming/interfaces.h>

#include <cstdint>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

/// A reader over an endless repetition of a file that puts between end and start what LoopSeam finds to be needed.
class LoopFiller : public ITsReader
{
public:
    /// `packetsInFile`: at least 1.
    LoopFiller(std::unique_ptr<ITsReader> source, uint64_t packetsInFile);

    std::span<uint8_t> read(std::span<uint8_t> buffer) override;
    void cancel() override { m_Source->cancel(); }

    /// For those who have got the packet behind the first pass, or need not share this object with another thread.
    const LoopSeam& seam() const { return m_Seam; }

private:
    std::span<uint8_t> readFile(std::span<uint8_t> buffer);

    std::unique_ptr<ITsReader> m_Source;
    uint64_t m_PacketsInFile;
    uint64_t m_Index = 0; ///< of the next packet in its pass, the seam's included
    bool m_FirstPass = true;
    LoopSeam m_Seam;
};

} // namespace Osl::Ts::Streaming
