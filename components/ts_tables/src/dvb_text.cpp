#include "dvb_text.h"

#include "character_sets.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace Osl::Ts {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr char32_t UNKNOWN = '?';
constexpr char32_t DVB_CONTROLS = 0xE000; ///< where a 16-bit text and UTF-8 have the control codes 0x80..0x9F
constexpr char32_t DVB_NEW_LINE = 0x8A;

/// What marks, joins or turns round other text, and so could make a terminal show what is not there.
bool isInvisible(char32_t c)
{
    return c == 0x00AD || (c >= 0x200B && c <= 0x200F) || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF || (c >= 0xE000 && c <= 0xF8FF);
}

class Utf8
{
public:
    void add(char32_t c)
    {
        if (c >= DVB_CONTROLS + 0x80 && c <= DVB_CONTROLS + 0x9F)
            c -= DVB_CONTROLS;
        if (c == DVB_NEW_LINE || c == 0x2028 || c == 0x2029 || c == '\n')
            c = ' ';
        if (c < 0x20 || (c >= 0x7F && c < 0xA0) || isInvisible(c))
            return;
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            c = UNKNOWN;
        if (c < 0x80) {
            m_Text += static_cast<char>(c);
            return;
        }
        const unsigned more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        m_Text += static_cast<char>(static_cast<uint8_t>(0xF0U << (3 - more)) | c >> more * 6);
        for (unsigned left = more; left > 0; --left)
            m_Text += static_cast<char>(0x80U | (c >> (left - 1) * 6 & 0x3FU));
    }
    std::string take() { return std::move(m_Text); }

private:
    std::string m_Text;
};

/// The character that a text of UTF-8 starts with, which is taken off; a byte that starts none is UNKNOWN.
char32_t takeUtf8(Bytes& text)
{
    const uint8_t first = text[0];
    const std::size_t more = first < 0x80   ? 0
                             : first < 0xC2 ? 4
                             : first < 0xE0 ? 1
                             : first < 0xF0 ? 2
                             : first < 0xF5 ? 3
                                            : 4;
    char32_t c = more == 0 ? first : first & (0x3FU >> more);
    bool whole = more < 4 && text.size() > more;
    for (std::size_t n = 1; whole && n <= more; ++n) {
        whole = (text[n] & 0xC0U) == 0x80;
        c = c << 6 | (text[n] & 0x3FU);
    }
    // What could be written shorter is no character.
    whole = whole && (more < 2 || c >= (more == 2 ? 0x800U : 0x10000U));
    text = text.subspan(whole ? more + 1 : 1);
    return whole ? c : UNKNOWN;
}

/// A letter with an accent, of two bytes.
std::optional<char32_t> accented(uint8_t accent, uint8_t letter)
{
    const auto row = std::find_if(ISO_6937_ACCENTS.begin(), ISO_6937_ACCENTS.end(),
                                  [accent](const Accent& one) { return one.byte == accent; });
    if (row == ISO_6937_ACCENTS.end())
        return {};
    for (std::size_t n = 0; n + 1 < row->letters.size(); n += 2)
        if (row->letters[n] == letter)
            return row->letters[n + 1];
    return {};
}

/// Nothing when it is none.
std::optional<std::string> readUtf8(Bytes text)
{
    Utf8 out;
    while (!text.empty()) {
        const bool isQuestion = text[0] == UNKNOWN;
        const char32_t c = takeUtf8(text);
        if (c == UNKNOWN && !isQuestion)
            return {};
        out.add(c);
    }
    return out.take();
}

std::string fromUtf8(Bytes text)
{
    Utf8 out;
    while (!text.empty())
        out.add(takeUtf8(text));
    return out.take();
}

std::string fromIso6937(Bytes text)
{
    // Many multiplexers send UTF-8 and do not say so. Its letters of two bytes are none of ISO/IEC 6937.
    if (const auto utf8 = readUtf8(text))
        return *utf8;
    Utf8 out;
    while (!text.empty()) {
        std::size_t taken = 1;
        if (text[0] < 0xA0) {
            out.add(text[0]);
        } else if (const auto letter = text.size() > 1 ? accented(text[0], text[1]) : std::nullopt) {
            out.add(*letter);
            taken = 2;
        } else {
            out.add(ISO_6937_UPPER_HALF[text[0] - 0xA0U]);
        }
        text = text.subspan(taken);
    }
    return out.take();
}

std::string fromIso8859(unsigned part, Bytes text)
{
    const auto set =
        std::find_if(ISO_8859.begin(), ISO_8859.end(), [part](const CharacterSet& s) { return s.part == part; });
    Utf8 out;
    for (const uint8_t byte : text) {
        if (byte < 0xA0)
            out.add(byte);
        else
            out.add(set == ISO_8859.end() ? UNKNOWN : set->upperHalf[byte - 0xA0U]);
    }
    return out.take();
}

std::string fromUtf16(Bytes text)
{
    Utf8 out;
    for (; text.size() > 1; text = text.subspan(2))
        out.add(static_cast<char32_t>(text[0] << 8 | text[1]));
    return out.take();
}

/// Only what is ASCII can be told of the sets of East Asia.
std::string fromWideSet(Bytes text)
{
    Utf8 out;
    while (!text.empty()) {
        const bool isWide = text[0] >= 0xA0;
        out.add(isWide ? UNKNOWN : text[0]);
        text = text.subspan(isWide && text.size() > 1 ? 2 : 1);
    }
    return out.take();
}

} // namespace

std::string dvbText(Bytes text)
{
    if (text.empty())
        return {};
    const uint8_t selector = text[0];
    const Bytes rest = text.subspan(1);
    if (selector >= 0x20)
        return fromIso6937(text);
    if (selector <= 0x0B) // 0x01 is ISO/IEC 8859-5
        return fromIso8859(selector + 4U, rest);
    switch (selector) {
    case 0x10: // the part follows in two bytes
        return rest.size() < 2 ? std::string()
                               : fromIso8859(static_cast<unsigned>(rest[0] << 8 | rest[1]), rest.subspan(2));
    case 0x11:
        return fromUtf16(rest);
    case 0x12:
    case 0x13:
    case 0x14:
        return fromWideSet(rest);
    case 0x15:
        return fromUtf8(rest);
    case 0x1F: // an encoding of somebody's own follows in a byte
        return rest.empty() ? std::string() : fromWideSet(rest.subspan(1));
    default:
        return fromIso8859(0, rest);
    }
}

} // namespace Osl::Ts
