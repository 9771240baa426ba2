#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// The character sets of the names in DVB tables.
namespace Osl::Ts {

/// What the bytes 0xA0..0xFF mean in a part of ISO/IEC 8859; "?" where they mean nothing.
struct CharacterSet
{
    uint8_t part;
    std::u16string_view upperHalf;
};

// clang-format off
inline constexpr std::array<CharacterSet, 15> ISO_8859{{
    {1, u"\u00a0¡¢£¤¥¦§¨©ª«¬\u00ad®¯°±²³´µ¶·¸¹º»¼½¾¿ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõ"
     u"ö÷øùúûüýþÿ"},
    {2, u"\u00a0Ą˘Ł¤ĽŚ§¨ŠŞŤŹ\u00adŽŻ°ą˛ł´ľśˇ¸šşťź˝žżŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢßŕáâăäĺćçčéęëěíîďđńňóôő"
     u"ö÷řůúűüýţ˙"},
    {3, u"\u00a0Ħ˘£¤?Ĥ§¨İŞĞĴ\u00ad?Ż°ħ²³´µĥ·¸ışğĵ½?żÀÁÂ?ÄĊĈÇÈÉÊËÌÍÎÏ?ÑÒÓÔĠÖ×ĜÙÚÛÜŬŜßàáâ?äċĉçèéêëìíîï?ñòóôġ"
     u"ö÷ĝùúûüŭŝ˙"},
    {4, u"\u00a0ĄĸŖ¤ĨĻ§¨ŠĒĢŦ\u00adŽ¯°ą˛ŗ´ĩļˇ¸šēģŧŊžŋĀÁÂÃÄÅÆĮČÉĘËĖÍÎĪĐŅŌĶÔÕÖ×ØŲÚÛÜŨŪßāáâãäåæįčéęëėíîīđņōķôõ"
     u"ö÷øųúûüũū˙"},
    {5, u"\u00a0ЁЂЃЄЅІЇЈЉЊЋЌ\u00adЎЏАБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмнопрстуфхцчшщъыьэюя№ёђѓєѕ"
     u"іїјљњћќ§ўџ"},
    {6, u"\u00a0???¤???????\u060c\u00ad?????????????\u061b???\u061f?\u0621\u0622\u0623\u0624\u0625\u0626"
     u"\u0627\u0628\u0629\u062a\u062b\u062c\u062d\u062e\u062f\u0630\u0631\u0632\u0633\u0634\u0635\u0636"
     u"\u0637\u0638\u0639\u063a?????\u0640\u0641\u0642\u0643\u0644\u0645\u0646\u0647\u0648\u0649\u064a"
     u"\u064b\u064c\u064d\u064e\u064f\u0650\u0651\u0652?????????????"},
    {7, u"\u00a0‘’£€₯¦§¨©ͺ«¬\u00ad?―°±²³΄΅Ά·ΈΉΊ»Ό½ΎΏΐΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡ?ΣΤΥΦΧΨΩΪΫάέήίΰαβγδεζηθικλμνξοπρςστυ"
     u"φχψωϊϋόύώ?"},
    {8, u"\u00a0?¢£¤¥¦§¨©×«¬\u00ad®¯°±²³´µ¶·¸¹÷»¼½¾????????????????????????????????‗\u05d0\u05d1\u05d2"
     u"\u05d3\u05d4\u05d5\u05d6\u05d7\u05d8\u05d9\u05da\u05db\u05dc\u05dd\u05de\u05df\u05e0\u05e1\u05e2"
     u"\u05e3\u05e4\u05e5\u05e6\u05e7\u05e8\u05e9\u05ea?????"},
    {9, u"\u00a0¡¢£¤¥¦§¨©ª«¬\u00ad®¯°±²³´µ¶·¸¹º»¼½¾¿ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏĞÑÒÓÔÕÖ×ØÙÚÛÜİŞßàáâãäåæçèéêëìíîïğñòóôõ"
     u"ö÷øùúûüışÿ"},
    {10, u"\u00a0ĄĒĢĪĨĶ§ĻĐŠŦŽ\u00adŪŊ°ąēģīĩķ·ļđšŧž―ūŋĀÁÂÃÄÅÆĮČÉĘËĖÍÎÏÐŅŌÓÔÕÖŨØŲÚÛÜÝÞßāáâãäåæįčéęëėíîïðņōóôõ"
     u"öũøųúûüýþĸ"},
    {11, u"\u00a0\u0e01\u0e02\u0e03\u0e04\u0e05\u0e06\u0e07\u0e08\u0e09\u0e0a\u0e0b\u0e0c\u0e0d\u0e0e\u0e0f"
     u"\u0e10\u0e11\u0e12\u0e13\u0e14\u0e15\u0e16\u0e17\u0e18\u0e19\u0e1a\u0e1b\u0e1c\u0e1d\u0e1e\u0e1f"
     u"\u0e20\u0e21\u0e22\u0e23\u0e24\u0e25\u0e26\u0e27\u0e28\u0e29\u0e2a\u0e2b\u0e2c\u0e2d\u0e2e\u0e2f"
     u"\u0e30\u0e31\u0e32\u0e33\u0e34\u0e35\u0e36\u0e37\u0e38\u0e39\u0e3a????\u0e3f\u0e40\u0e41\u0e42"
     u"\u0e43\u0e44\u0e45\u0e46\u0e47\u0e48\u0e49\u0e4a\u0e4b\u0e4c\u0e4d\u0e4e\u0e4f\u0e50\u0e51\u0e52"
     u"\u0e53\u0e54\u0e55\u0e56\u0e57\u0e58\u0e59\u0e5a\u0e5b????"},
    {13, u"\u00a0”¢£¤„¦§Ø©Ŗ«¬\u00ad®Æ°±²³“µ¶·ø¹ŗ»¼½¾æĄĮĀĆÄÅĘĒČÉŹĖĢĶĪĻŠŃŅÓŌÕÖ×ŲŁŚŪÜŻŽßąįāćäåęēčéźėģķīļšńņóōõ"
     u"ö÷ųłśūüżž’"},
    {14, u"\u00a0Ḃḃ£ĊċḊ§Ẁ©ẂḋỲ\u00ad®ŸḞḟĠġṀṁ¶ṖẁṗẃṠỳẄẅṡÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏŴÑÒÓÔÕÖṪØÙÚÛÜÝŶßàáâãäåæçèéêëìíîïŵñòóôõ"
     u"öṫøùúûüýŷÿ"},
    {15, u"\u00a0¡¢£€¥Š§š©ª«¬\u00ad®¯°±²³Žµ¶·ž¹º»ŒœŸ¿ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞßàáâãäåæçèéêëìíîïðñòóôõ"
     u"ö÷øùúûüýþÿ"},
    {16, u"\u00a0ĄąŁ€„Š§š©Ș«Ź\u00adźŻ°±ČłŽ”¶·žčș»ŒœŸżÀÁÂĂÄĆÆÇÈÉÊËÌÍÎÏĐŃÒÓÔŐÖŚŰÙÚÛÜĘȚßàáâăäćæçèéêëìíîïđńòóôő"
     u"öśűùúûüęțÿ"},
}};
// clang-format on

/// ISO/IEC 6937, the set of a name that names none, has letters with an accent as two bytes.
struct Accent
{
    uint8_t byte;                ///< stands before the letter
    std::u16string_view letters; ///< without and with the accent, in turn
};

// clang-format off
inline constexpr std::array<Accent, 13> ISO_6937_ACCENTS{{
    {0xC1, u"AÀEÈIÌNǸOÒUÙaàeèiìnǹoòuù"},
    {0xC2, u"AÁCĆEÉGǴIÍLĹNŃOÓRŔSŚUÚYÝZŹaácćeégǵiílĺnńoórŕsśuúyýzź"},
    {0xC3, u"AÂCĈEÊGĜHĤIÎJĴOÔSŜUÛWŴYŶaâcĉeêgĝhĥiîjĵoôsŝuûwŵyŷ"},
    {0xC4, u"AÃIĨNÑOÕUŨaãiĩnñoõuũ"},
    {0xC5, u"AĀEĒIĪOŌUŪYȲaāeēiīoōuūyȳ"},
    {0xC6, u"AĂEĔGĞIĬOŎUŬaăeĕgğiĭoŏuŭ"},
    {0xC7, u"AȦCĊEĖGĠIİOȮZŻaȧcċeėgġoȯzż"},
    {0xC8, u"AÄEËIÏOÖUÜYŸaäeëiïoöuüyÿ"},
    {0xCA, u"AÅUŮaåuů"},
    {0xCB, u"CÇEȨGĢKĶLĻNŅRŖSŞTŢcçeȩgģkķlļnņrŗsştţ"},
    {0xCD, u"OŐUŰoőuű"},
    {0xCE, u"AĄEĘIĮOǪUŲaąeęiįoǫuų"},
    {0xCF, u"AǍCČDĎEĚGǦHȞIǏKǨLĽNŇOǑRŘSŠTŤUǓZŽaǎcčdďeěgǧhȟiǐjǰkǩlľnňoǒrřsštťuǔzž"},
}};
inline constexpr std::u16string_view ISO_6937_UPPER_HALF =
    u"\u00a0¡¢£€¥?§¤‘“«←↑→↓°±²³×µ¶·÷’”»¼½¾¿????????????????―¹®©™♪¬¦????⅛⅜⅝⅞ΩÆĐªĦ?ĲĿŁØŒºÞŦŊŉĸæđðħıĳŀłøœßþŧŋ\u00ad";
// clang-format on

} // namespace Osl::Ts
