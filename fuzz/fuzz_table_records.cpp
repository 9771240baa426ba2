// Rows of all tables as a device may hold them, and address texts as a user may type them.

#include <osl/cpputils/assertion.h>
#include <osl/cpputils/netaddress.h>
#include <osl/testing/failing_block.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/iplut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/pidlut_diag.h>
#include <osl/userspace_drivers/drivers/zeb/ts/filtertabentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/ipoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physinentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/physoutentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/pidmapentry.h>
#include <osl/userspace_drivers/drivers/zeb/ts/tsimapentry.h>

#include <algorithm>
#include <cstring>
#include <sstream>

using namespace Osl::Drivers::Zeb;
using Osl::CppUtil::IpAdrContainer;
using Osl::CppUtil::MacAdrContainer;

namespace {

using Words = std::vector<uint32_t>;

/// Packing what was decoded keeps every field: decoding and packing it again changes nothing.
template <class Entry>
void checkEntry(const Words& source)
{
    Entry entry;
    Words words(source.begin(), source.begin() + Entry::TOT_WORDS);
    entry.setFromWords(words);
    const Words packed = entry.getWords();
    for (std::size_t i = 0; i < packed.size(); ++i)
        OSL_ASSERT((packed[i] & ~words[i]) == 0);
    Entry again;
    again.setFromWords(packed);
    OSL_ASSERT(again.getWords() == packed);
}

template <class Address>
void checkAddress(const std::string& text)
{
    try {
        const Address address(text);
        OSL_ASSERT(Address(address.toString()) == address);
    } catch (const Osl::CppUtil::ParsingError&) {
    }
}

void checkPrinting(const Words& words)
{
    static std::size_t accessesLeft = 0;
    accessesLeft = SIZE_MAX;
    static Osl::Testing::FailingBlock memory(TableBlock::PID, 0x8000, accessesLeft);
    for (auto row = memory.words.begin(); row != memory.words.end(); row += 4)
        std::copy(words.begin(), words.end(), row);
    for (const auto print :
         {&printPidLut, &printTsiMap, &printOPidMap, &printIpLut, &printPhysInMap, &printIpOutMap, &printPhysOutMap}) {
        std::ostringstream out;
        print(memory, 1, 2, false, true, out);
        const std::string text = out.str();
        OSL_ASSERT(std::count(text.begin(), text.end(), '\n') == 2);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Words words(4);
    std::memcpy(words.data(), data, std::min(size, words.size() * sizeof(uint32_t)));
    checkEntry<FilterTabEntry>(words);
    checkEntry<IpInEntry>(words);
    checkEntry<IpOutEntry>(words);
    checkEntry<PhysInEntry>(words);
    checkEntry<PhysOutEntry>(words);
    checkEntry<PidLutEntry>(words);
    checkEntry<PidMapEntry>(words);
    checkEntry<TsiMapEntry>(words);
    checkPrinting(words);

    const std::string text(reinterpret_cast<const char*>(data), size);
    checkAddress<IpAdrContainer>(text);
    checkAddress<MacAdrContainer>(text);
    return 0;
}
