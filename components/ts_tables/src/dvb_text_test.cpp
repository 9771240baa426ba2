#include "dvb_text.h"

#include <osl/testing/test.h>

#include <string_view>

using namespace Osl::Ts;
using namespace std::string_view_literals;

TEST(DvbTextTest, EveryCharacterSetBecomesUtf8ThatATerminalOnlyShows)
{
    const std::pair<std::string_view, std::string_view> CASES[]{
        {"", ""},
        {"Das Erste", "Das Erste"},
        {"\xC8Uber \xC2"
         "e\xFB\xA4",
         "Über éß€"},                         // two bytes to an accented letter
        {"\xC8\xC8", "??"},                   // an accent without a letter
        {"F\xC3\xBC\xC3\x9F", "Füß"},         // UTF-8 that says nothing of it
        {"\x01\xC0\xEF", "Ря"},               // ISO/IEC 8859-5
        {"\x0B\xA4", "€"},                    // 8859-15
        {"\x08\xA4", "?"},                    // 8859-12 does not exist
        {"\x10\x00\x02\xA1"sv, "Ą"},          // any part of 8859
        {"\x10\x00\x63\xA1"sv, "?"},          // which does not exist
        {"\x10\x00"sv, ""},                   // cut
        {"\x11\x20\xAC\x00\x41\x00"sv, "€A"}, // 16 bits a character, one cut
        {"\x11\xD8\x00"sv, "?"},
        {"\x15\xE2\x82\xAC\xF0\x9F\x93\xBA", "€📺"},
        {"\x15\xC0\x80\xE2\x82\xED\xA0\x80\xFF", "??????"}, // too long, cut, half a pair, no start
        {"\x13\xB5\xE7TV", "?TV"},                          // sets of East Asia are not known
        {"\x1F\x01\x41", "A"},
        {"\x07", ""},
        {"A\x1B[31m\x9B\x07\x86\x87\x8A.", "A[31m ."},              // controls; 0x8A ends a line
        {"\x15\xEE\x82\x8A\xEE\x82\x86", " "},                      // the same in UTF-8
        {"\x15\xE2\x80\xAE\xE2\x80\x8B\xC2\x9B\xEF\xBB\xBF.", "."}, // turns text round, is not seen
    };
    for (const auto& [bytes, expected] : CASES)
        EXPECT_EQ(dvbText({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}), expected);
}
