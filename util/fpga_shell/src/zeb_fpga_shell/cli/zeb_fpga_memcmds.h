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
    int doFpgaCommand(Options& options, std::ostream& out, std::istream& in) override;

    virtual void access(const Options& options, std::ostream& out) = 0;
};

/// Dumps a block of words; offset and count are in words of the width.
template <class Word>
class ZEBFpgaReadCmd : public ZEBFpgaMemCmd
{
public:
    using ZEBFpgaMemCmd::ZEBFpgaMemCmd;
    void addOptions(Options& options) override;

protected:
    void access(const Options& options, std::ostream& out) override;
};

/// Writes one word, and reads it back on request. Data wider than the word is refused.
template <class Word>
class ZEBFpgaWriteCmd : public ZEBFpgaMemCmd
{
public:
    using ZEBFpgaMemCmd::ZEBFpgaMemCmd;
    void addOptions(Options& options) override;

protected:
    void access(const Options& options, std::ostream& out) override;
};

// clang-format off
class ZEBFpgaCli_read8   : public ZEBFpgaReadCmd<uint8_t>   { using ZEBFpgaReadCmd::ZEBFpgaReadCmd; };
class ZEBFpgaCli_read16  : public ZEBFpgaReadCmd<uint16_t>  { using ZEBFpgaReadCmd::ZEBFpgaReadCmd; };
class ZEBFpgaCli_read32  : public ZEBFpgaReadCmd<uint32_t>  { using ZEBFpgaReadCmd::ZEBFpgaReadCmd; };
class ZEBFpgaCli_write8  : public ZEBFpgaWriteCmd<uint8_t>  { using ZEBFpgaWriteCmd::ZEBFpgaWriteCmd; };
class ZEBFpgaCli_write16 : public ZEBFpgaWriteCmd<uint16_t> { using ZEBFpgaWriteCmd::ZEBFpgaWriteCmd; };
class ZEBFpgaCli_write32 : public ZEBFpgaWriteCmd<uint32_t> { using ZEBFpgaWriteCmd::ZEBFpgaWriteCmd; };
// clang-format on

} // namespace Osl::Utils
