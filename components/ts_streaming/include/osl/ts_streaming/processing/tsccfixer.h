#pragma once

#include <osl/ts_basics/ll_tspackets.h>
#include <osl/ts_streaming/interfaces.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace Osl::Ts::Streaming {

/// Numbers the packets of every PID anew from 0, without gaps, whatever the source held. Null packets are left alone.
class TsCcFixer : public TsProcessChainLink
{
public:
    explicit TsCcFixer(std::unique_ptr<ITsProcessChain> next = nullptr);

protected:
    void change(std::span<uint8_t> buffer) override;

private:
    static constexpr uint8_t UNSEEN = 0xFF;
    std::array<uint8_t, NULL_PID + 1> m_LastCounter{}; ///< by PID
};

} // namespace Osl::Ts::Streaming
