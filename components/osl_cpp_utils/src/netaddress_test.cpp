#include <osl/cpputils/error.h>
#include <osl/cpputils/netaddress.h>
#include <osl/testing/test.h>

using namespace Osl::CppUtil;

TEST(IpAdrContainerTest, TheFirstGroupOfTheTextIsTheMostSignificantOctet)
{
    const IpAdrContainer address(std::string("1.2.3.4"));
    EXPECT_EQ(address.value(), 0x01020304U);
    EXPECT_THAT(address.octets(), ElementsAre(4, 3, 2, 1));
    EXPECT_EQ(address, IpAdrContainer(address.octets()));
    EXPECT_EQ(IpAdrContainer(std::string("010.000.000.255")).toString(), "10.0.0.255");
    for (const auto& [text, isGroup] :
         {std::pair("223.255.255.255", false), {"224.0.0.0", true}, {"239.255.255.255", true}, {"240.0.0.0", false}})
        EXPECT_EQ(IpAdrContainer(std::string(text)).isMulticast(), isGroup) << text;
}

TEST(MacAdrContainerTest, TheLastGroupOfTheTextIsOctetZero)
{
    const MacAdrContainer address(std::string("01:23:45:67:89:aB"));
    EXPECT_EQ(address.octet(0), 0xAB);
    EXPECT_EQ(address.toString(), "01:23:45:67:89:AB");
    EXPECT_EQ(address, MacAdrContainer(std::vector<uint8_t>{0xAB, 0x89, 0x67, 0x45, 0x23, 0x01}));
}

TEST(NetAddressTest, TextsMustHaveTheirWholeShape)
{
    for (const std::string text : {"", "1", "256.1.1.1", "1.2.3.256", "1.2.3.4.5", "11.22.33", "11.22.33.", ".1.2.3.4",
                                   "1..2.3.4", "1.2.3.4 ", " 1.2.3.4", "1.2.3.-4", "+1.2.3.4", "0x1.2.3.4", "1.2.3.a",
                                   "0001.2.3.4", "1,2,3,4", "1111.22.333", "1.2.3.4\n"})
        EXPECT_THAT(failureOf<ParsingError>([&] { (void)IpAdrContainer(text); }),
                    StartsWith("Generic parsing Error: Unable to parse string representation of IPv4 address: \"" +
                               text + "\"("));
    for (const std::string text :
         {"", "01:23:45:67:89", "01:23:45:67:89:ab:cd", "1:23:45:67:89:abc", "01:23:45:67:89:ag", "01-23-45-67-89-ab",
          "01:23:45:67:89:ab ", "01:23:45:67:89::a", "0x:23:45:67:89:ab"})
        EXPECT_THAT(failureOf<ParsingError>([&] { (void)MacAdrContainer(text); }),
                    StartsWith("Generic parsing Error: Unable to parse string representation of MAC address: \"" +
                               text + "\"("));
}

TEST(NetAddressTest, OctetsMustBeThere)
{
    EXPECT_THAT(failureOf<OutOfRangeError>([] { (void)IpAdrContainer(0).octet(4); }),
                StartsWith("Out of Range Error: Octet index (4) out of range.("));
    EXPECT_THAT(failureOf<OutOfRangeError>([] { (void)IpAdrContainer(std::vector<uint8_t>(5)); }),
                StartsWith("Out of Range Error: Octet vector has invalid size (5) expected 4("));
    EXPECT_THAT(failureOf<OutOfRangeError>([] { (void)MacAdrContainer(std::vector<uint8_t>(6)).octet(6); }),
                StartsWith("Out of Range Error: Octet index is out of range of a 48bit MAC address. Got 6 expected "
                           "less than 6.("));
    EXPECT_THAT(failureOf<OutOfRangeError>([] { (void)MacAdrContainer(std::vector<uint8_t>(4)); }),
                StartsWith("Out of Range Error: Invalid size of MAC address octet vector. Expected 6 octets, but got "
                           "4("));
}

TEST(MacAdrContainerTest, GroupAddressTakesTheLow23BitsOfAMulticastAddress)
{
    for (const std::string address : {"239.1.2.3", "239.129.2.3", "224.1.2.3"})
        EXPECT_EQ(MacAdrContainer(IpAdrContainer(address)).toString(), "01:00:5E:01:02:03");
    EXPECT_EQ(MacAdrContainer(IpAdrContainer(std::string("239.255.255.255"))).toString(), "01:00:5E:7F:FF:FF");
    EXPECT_THAT(failureOf<InvalidArgumentError>([] { (void)MacAdrContainer(IpAdrContainer(0x0A000001)); }),
                StartsWith("Invalid Argument Error: IP address must be in the multicast range("));
}
