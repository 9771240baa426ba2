#pragma once

#include "zeb_fpga_shell/cli/zeb_fpga_openclose_cmd.h"

#include <cstdint>

namespace Osl::Utils {

/// Base of the commands that read and write raw device memory: names the command in every error of the operation.
class ZEBFpgaMemCmd : public ZEBFpgaOpenCloseCmd
{
public:
    using ZEBFpgaOpenCloseCmd::ZEBFpgaOpenCloseCmd;

protected:
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) final;

    virtual void access(const Options& options, std::ostream& out) = 0;
};

/// Dumps a block of words; offset and count are in words of the width.
template <class Word>
class ZEBFpgaReadCmd final : public ZEBFpgaMemCmd
{
public:
    using ZEBFpgaMemCmd::ZEBFpgaMemCmd;
    void addOptions(Options& options) override;

protected:
    void access(const Options& options, std::ostream& out) override;
};

/// Writes one word, and reads it back on request. Data wider than the word is refused.
template <class Word>
class ZEBFpgaWriteCmd final : public ZEBFpgaMemCmd
{
public:
    using ZEBFpgaMemCmd::ZEBFpgaMemCmd;
    void addOptions(Options& options) override;

protected:
    void access(const Options& options, std::ostream& out) override;
};

using ZEBFpgaCli_read8 = ZEBFpgaReadCmd<uint8_t>;
using ZEBFpgaCli_read16 = ZEBFpgaReadCmd<uint16_t>;
using ZEBFpgaCli_read32 = ZEBFpgaReadCmd<uint32_t>;
using ZEBFpgaCli_write8 = ZEBFpgaWriteCmd<uint8_t>;
using ZEBFpgaCli_write16 = ZEBFpgaWriteCmd<uint16_t>;
using ZEBFpgaCli_write32 = ZEBFpgaWriteCmd<uint32_t>;

} // namespace Osl::Utils
