#include "stream_kinds.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

namespace Osl::Ts {
namespace {

struct TypeRow
{
    uint8_t type; ///< stream_type of the PMT
    std::string_view kind;
};

/// Those of ISO/IEC 13818-1, and of the rest those in use in broadcasting.
constexpr std::array TYPES{
    TypeRow{0x01, "MPEG-1 video"},
    TypeRow{0x02, "MPEG-2 video"},
    TypeRow{0x03, "MPEG-1 audio"},
    TypeRow{0x04, "MPEG-2 audio"},
    TypeRow{0x05, "private sections"},
    TypeRow{0x06, "private data"},
    TypeRow{0x07, "MHEG"},
    TypeRow{0x08, "DSM-CC"},
    TypeRow{0x09, "H.222.1"},
    TypeRow{0x0A, "DSM-CC multi-protocol data"},
    TypeRow{0x0B, "DSM-CC messages"},
    TypeRow{0x0C, "DSM-CC stream descriptors"},
    TypeRow{0x0D, "DSM-CC sections"},
    TypeRow{0x0E, "auxiliary data"},
    TypeRow{0x0F, "AAC audio"},
    TypeRow{0x10, "MPEG-4 video"},
    TypeRow{0x11, "AAC audio in LATM"},
    TypeRow{0x12, "MPEG-4 data"},
    TypeRow{0x13, "MPEG-4 sections"},
    TypeRow{0x14, "DSM-CC download"},
    TypeRow{0x15, "metadata"},
    TypeRow{0x16, "metadata sections"},
    TypeRow{0x1B, "H.264 video"},
    TypeRow{0x1C, "MPEG-4 audio"},
    TypeRow{0x1D, "MPEG-4 text"},
    TypeRow{0x1E, "auxiliary video"},
    TypeRow{0x1F, "H.264 scalable video"},
    TypeRow{0x20, "H.264 multiview video"},
    TypeRow{0x21, "JPEG 2000 video"},
    TypeRow{0x24, "HEVC video"},
    TypeRow{0x25, "HEVC temporal layers"},
    TypeRow{0x2D, "MPEG-H audio"},
    TypeRow{0x2E, "MPEG-H audio"},
    TypeRow{0x32, "JPEG XS video"},
    TypeRow{0x33, "VVC video"},
    TypeRow{0x42, "AVS video"},
    TypeRow{0x81, "AC-3 audio"},
    TypeRow{0x86, "SCTE 35 cues"},
    TypeRow{0x87, "E-AC-3 audio"},
    TypeRow{0x8A, "DTS audio"},
    TypeRow{0xD1, "Dirac video"},
    TypeRow{0xEA, "VC-1 video"},
};

enum DescriptorTag : uint8_t {
    REGISTRATION = 0x05,
    ISO_639_LANGUAGE = 0x0A,
    VBI_TELETEXT = 0x46,
    TELETEXT = 0x56,
    SUBTITLING = 0x59,
    EXTENSION = 0x7F
};

struct TagRow
{
    uint8_t tag;
    int extension; ///< the first byte of an extension descriptor; -1: any
    std::string_view kind;
};

/// The descriptors of ETSI EN 300 468 that say what private data is.
constexpr std::array TAGS{
    TagRow{0x45, -1, "VBI data"},
    TagRow{VBI_TELETEXT, -1, "VBI teletext"},
    TagRow{TELETEXT, -1, "teletext"},
    TagRow{SUBTITLING, -1, "DVB subtitles"},
    TagRow{0x6A, -1, "AC-3 audio"},
    TagRow{0x6F, -1, "application signalling"},
    TagRow{0x7A, -1, "E-AC-3 audio"},
    TagRow{0x7B, -1, "DTS audio"},
    TagRow{0x7C, -1, "AAC audio"},
    TagRow{0x66, -1, "data broadcast"},
    TagRow{EXTENSION, 0x0E, "DTS-HD audio"},
    TagRow{EXTENSION, 0x15, "AC-4 audio"},
    TagRow{EXTENSION, 0x20, "TTML subtitles"},
    TagRow{EXTENSION, 0x21, "DTS-UHD audio"},
    TagRow{EXTENSION, 0x80, "Opus audio"},
};

struct RegistrationRow
{
    std::string_view identifier; ///< four characters
    std::string_view kind;
};

constexpr std::array REGISTRATIONS{
    RegistrationRow{"AC-3", "AC-3 audio"},       RegistrationRow{"EAC3", "E-AC-3 audio"},
    RegistrationRow{"AC-4", "AC-4 audio"},       RegistrationRow{"DTS1", "DTS audio"},
    RegistrationRow{"DTS2", "DTS audio"},        RegistrationRow{"DTS3", "DTS audio"},
    RegistrationRow{"BSSD", "SMPTE 302M audio"}, RegistrationRow{"Opus", "Opus audio"},
    RegistrationRow{"HEVC", "HEVC video"},       RegistrationRow{"VC-1", "VC-1 video"},
    RegistrationRow{"drac", "Dirac video"},      RegistrationRow{"AV01", "AV1 video"},
    RegistrationRow{"KLVA", "KLV metadata"},     RegistrationRow{"ID3 ", "ID3 metadata"},
    RegistrationRow{"VANC", "ancillary data"},   RegistrationRow{"CUEI", "SCTE 35 cues"},
};

std::string_view textOf(std::span<const uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view kindByTag(const Descriptor& descriptor)
{
    const int extension = descriptor.bytes.empty() ? -1 : descriptor.bytes[0];
    const auto row = std::find_if(TAGS.begin(), TAGS.end(), [&](const TagRow& one) {
        return one.tag == descriptor.tag && (one.extension == -1 || one.extension == extension);
    });
    return row == TAGS.end() ? "" : row->kind;
}

std::string_view kindByRegistration(const Descriptor& descriptor)
{
    if (descriptor.tag != REGISTRATION || descriptor.bytes.size() < 4)
        return "";
    const std::string_view identifier = textOf(descriptor.bytes.first(4));
    const auto row = std::find_if(REGISTRATIONS.begin(), REGISTRATIONS.end(),
                                  [&](const RegistrationRow& one) { return one.identifier == identifier; });
    return row == REGISTRATIONS.end() ? "" : row->kind;
}

/// Where a descriptor has its languages: entries of so many bytes begin with one.
std::size_t languageEntryBytes(uint8_t tag)
{
    switch (tag) {
    case ISO_639_LANGUAGE:
        return 4;
    case VBI_TELETEXT:
    case TELETEXT:
        return 5;
    case SUBTITLING:
        return 8;
    default:
        return 0;
    }
}

bool isLanguage(std::string_view code)
{
    return std::all_of(code.begin(), code.end(), [](unsigned char c) { return std::isalpha(c) != 0; });
}

} // namespace

std::string_view streamKind(uint8_t type, const std::vector<Descriptor>& descriptors)
{
    const auto row = std::find_if(TYPES.begin(), TYPES.end(), [type](const TypeRow& one) { return one.type == type; });
    // Descriptors speak where the type says only that it is private, in one way or another.
    if (row == TYPES.end() || row->type == 0x05 || row->type == 0x06 || row->type == 0x15) {
        for (const auto kindOf : {&kindByTag, &kindByRegistration})
            for (const Descriptor& descriptor : descriptors)
                if (const std::string_view kind = kindOf(descriptor); !kind.empty())
                    return kind;
    }
    return row == TYPES.end() ? "unknown" : row->kind;
}

std::string languages(const std::vector<Descriptor>& descriptors)
{
    constexpr std::size_t CODE_CHARACTERS = 3;
    std::string all;
    for (const Descriptor& descriptor : descriptors) {
        const std::size_t entryBytes = languageEntryBytes(descriptor.tag);
        for (auto left = descriptor.bytes; entryBytes != 0 && left.size() >= entryBytes;
             left = left.subspan(entryBytes)) {
            const std::string_view code = textOf(left.first(CODE_CHARACTERS));
            if (isLanguage(code) && all.find(code) == std::string::npos)
                all.append(all.empty() ? "" : "/").append(code);
        }
    }
    return all;
}

} // namespace Osl::Ts
