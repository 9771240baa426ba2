#pragma once

#include <osl/cpputils/error.h>
#include <osl/ts_basics/ll_tspackets.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Osl::Ts {

struct TsError : Error
{
    using Error::Error;
};

struct TsPacketError : CppUtil::PrefixedError<"TS Packet Error: ", TsError>
{
    using PrefixedError::PrefixedError;
};

enum class ScramblingControl : uint8_t { NOT_SCRAMBLED = 0, RESERVED = 1, EVEN_KEY = 2, ODD_KEY = 3 };

/// One TS packet (ISO/IEC 13818-1) in somebody's buffer, read and written in place. Only syncOk() looks at the sync
/// byte.
class TSPacket
{
public:
    virtual ~TSPacket() = default;

    virtual const uint8_t* tsData() const = 0; ///< the packet's 188 bytes
    virtual uint8_t* tsData() = 0;

    virtual bool syncOk() const { return Ll::hasSync(tsData()); }
    virtual uint16_t pid() const { return Ll::pid(tsData()); }
    /// Only the low 13 bits of `value` are stored.
    virtual void setPid(uint16_t value) { Ll::setPid(tsData(), value); }
    virtual uint8_t continuityCounter() const { return Ll::continuityCounter(tsData()); }
    /// Only the low 4 bits of `value` are stored.
    virtual void setContinuityCounter(uint8_t value) { Ll::setContinuityCounter(tsData(), value); }
    virtual bool hasPayload() const { return Ll::hasPayload(tsData()); }
    virtual ScramblingControl scramblingControl() const;
    virtual bool isScrambled() const { return scramblingControl() != ScramblingControl::NOT_SCRAMBLED; }
    virtual bool hasPcr() const { return Ll::hasPcr(tsData()); }
    virtual bool startsPayloadUnit() const { return Ll::startsPayloadUnit(tsData()); }
    /// In 27 MHz ticks; raises TsPacketError when the packet has none.
    virtual uint64_t pcr() const;
    /// The end of the packet when there is no payload.
    virtual const uint8_t* payload() const { return tsData() + Ll::payloadOffset(tsData()); }
    virtual uint8_t* payload() { return tsData() + Ll::payloadOffset(tsData()); }
    virtual bool hasTransportError() const { return Ll::hasTransportError(tsData()); }
};

/// A TS packet that may follow the packet port's own header.
class IO_TSPacket : public TSPacket
{
public:
    /// Header and packet together.
    virtual const uint8_t* record() const = 0;
    virtual std::size_t recordSize() const = 0;
    std::size_t headerSize() const { return recordSize() - TS_SIZE; }
};

/// A record in a shared byte buffer; the TS packet is its last 188 bytes. Cheap to pass on: the bytes are not copied.
class ShrdBuffIO_TSPacket : public IO_TSPacket
{
public:
    /// `packet_size` is that of the whole record, at least TS_SIZE.
    ShrdBuffIO_TSPacket(std::shared_ptr<uint8_t[]> record, std::size_t packet_size);

    const uint8_t* record() const override { return m_Record.get(); }
    std::size_t recordSize() const override { return m_RecordSize; }
    const uint8_t* tsData() const override { return m_Record.get() + headerSize(); }
    uint8_t* tsData() override { return m_Record.get() + headerSize(); }

private:
    std::shared_ptr<uint8_t[]> m_Record;
    std::size_t m_RecordSize;
};

} // namespace Osl::Ts
