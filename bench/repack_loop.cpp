// The peer of sending: one thread that reads 1 MiB at a time, puts a 4-byte header before every 188 bytes and writes
// the result. It is the least that any program has to do to bring a file of TS packets to a channel device.
//
// usage: repack_loop FILE DEVICE

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

int main(int argc, char** argv)
{
    constexpr std::size_t PACKETS = 5577;
    constexpr std::size_t TS_SIZE = 188;
    constexpr std::size_t RECORD_SIZE = 192;
    if (argc != 3) {
        std::fputs("usage: repack_loop FILE DEVICE\n", stderr);
        return 2;
    }
    const int input = ::open(argv[1], O_RDONLY);
    const int device = ::open(argv[2], O_WRONLY);
    if (input < 0 || device < 0) {
        std::perror("repack_loop");
        return 1;
    }
    std::vector<uint8_t> packets(PACKETS * TS_SIZE);
    std::vector<uint8_t> records(PACKETS * RECORD_SIZE);
    constexpr uint32_t HEADER = 5;
    for (ssize_t count = 0; (count = ::read(input, packets.data(), packets.size())) > 0;) {
        const std::size_t got = static_cast<std::size_t>(count) / TS_SIZE;
        for (std::size_t i = 0; i < got; ++i) {
            std::memcpy(&records[i * RECORD_SIZE], &HEADER, sizeof HEADER);
            std::memcpy(&records[i * RECORD_SIZE + sizeof HEADER], &packets[i * TS_SIZE], TS_SIZE);
        }
        if (::write(device, records.data(), got * RECORD_SIZE) < 0) {
            std::perror("repack_loop");
            return 1;
        }
    }
    return 0;
}
