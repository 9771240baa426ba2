// Image files: as they come, and with the right length and CRC so that the import goes on to write them.

#include <osl/cpputils/assertion.h>
#include <osl/testing/failing_block.h>
#include <osl/userspace_drivers/drivers/zeb/ts/diag/fpga_diag.h>

using namespace Osl::Drivers::Zeb;
using Board = Osl::Testing::FailingBoard; // none of them fails

namespace {

using Bytes = std::vector<uint8_t>;

/// Whether the import took the file; when it did not, it touched no device.
bool isTaken(Board& board, const Bytes& file)
{
    try {
        importTables(board.pid, board.io, file);
        return true;
    } catch (const Osl::CppUtil::InvalidArgumentError&) {
        OSL_ASSERT(board.pid.accesses + board.io.accesses == 0);
        return false;
    }
}

/// The input repeated to the length of the tables, and the CRC.
Bytes imageOf(const Bytes& input)
{
    Bytes image(IMAGE_BYTES);
    const std::size_t tableBytes = TOT_WORDS * sizeof(uint32_t);
    for (std::size_t i = 0; i < tableBytes; ++i)
        image[i] = static_cast<uint8_t>(input[i % input.size()] + i / input.size());
    const uint32_t crc = crc32Mpeg2(std::span(image).first(tableBytes));
    for (std::size_t i = 0; i < sizeof crc; ++i)
        image[tableBytes + i] = static_cast<uint8_t>(crc >> i * 8);
    return image;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    if (size < 4)
        return 0;
    const Bytes input(data, data + size);
    static Board untouched;
    OSL_ASSERT(size == IMAGE_BYTES || !isTaken(untouched, input));

    Bytes image = imageOf(input);
    Board board;
    OSL_ASSERT(isTaken(board, image));
    OSL_ASSERT(toBytes(exportTables(board.pid, board.io)) == image);

    const std::size_t bit = (data[0] + data[1] * 256U + data[2] % 8 * 65536U) % (IMAGE_BYTES * 8);
    image[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
    OSL_ASSERT(!isTaken(untouched, image));
    return 0;
}
