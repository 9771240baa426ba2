#include "virtual_board/physical_outputs.h"

#include <osl/linutils/raii_filedescriptors.h>
#include <osl/ts_basics/ll_tspackets.h>
#include <osl/userspace_drivers/drivers/zeb/ts/port_names.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Osl::VirtualBoard {

namespace {

constexpr std::size_t BUFFER_SIZE = 512 * Ts::TS_SIZE;
constexpr int FILE_MODE = 0644;

bool append(const std::filesystem::path& file, const std::vector<uint8_t>& bytes)
{
    // Without blocking, so that a pipe that stands there cannot stop the board.
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC, FILE_MODE);
    if (descriptor < 0)
        return false;
    const auto owned = LinuxCppUtil::ownFD(descriptor);
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(descriptor, &bytes[written], bytes.size() - written);
        if (count < 0)
            return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace

PhysicalOutputs::PhysicalOutputs(std::filesystem::path folder, Complain complain)
    : m_Folder(std::move(folder)),
      m_Complain(std::move(complain))
{
}

PhysicalOutputs::Output PhysicalOutputs::makeOutput(uint32_t phyOIdx) const
{
    const auto& names = Drivers::Zeb::physicalOutputs();
    const auto found =
        std::find_if(names.begin(), names.end(), [phyOIdx](const auto& port) { return port.second == phyOIdx; });
    if (found != names.end())
        return {.file = m_Folder / (found->first + ".ts")};
    m_Complain(fmt::format("a stream is mapped to PHYOIDX {}, where the board has no output", phyOIdx));
    return {};
}

void PhysicalOutputs::send(uint32_t phyOIdx, const uint8_t* packet)
{
    auto found = m_Outputs.find(phyOIdx);
    if (found == m_Outputs.end())
        found = m_Outputs.emplace(phyOIdx, makeOutput(phyOIdx)).first;
    Output& output = found->second;
    if (output.file.empty())
        return;
    output.waiting.insert(output.waiting.end(), packet, packet + Ts::TS_SIZE);
    if (output.waiting.size() >= BUFFER_SIZE)
        flush(output);
}

void PhysicalOutputs::flush(Output& output)
{
    if (output.waiting.empty())
        return;
    const bool failed = !append(output.file, output.waiting);
    if (failed && !output.failed)
        m_Complain(fmt::format("packets are lost: cannot write {}: {}", output.file.string(), std::strerror(errno)));
    output.failed = failed;
    output.waiting.clear();
}

void PhysicalOutputs::flush()
{
    for (auto& [index, output] : m_Outputs)
        flush(output);
}

} // namespace Osl::VirtualBoard
