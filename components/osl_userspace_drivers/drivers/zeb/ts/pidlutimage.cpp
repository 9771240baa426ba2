#include <osl/userspace_drivers/drivers/zeb/ts/pidlutimage.h>

#include <algorithm>

namespace Osl::Drivers::Zeb {
namespace {

using F = PidLutFields;

// The first word of a row is its place in the order.
constexpr uint32_t keyOf(uint32_t tsiIdx, uint32_t pid) { return tsiIdx << F::TSIIDX.lsb | pid << F::PID.lsb; }
static_assert(F::PID.word == 0 && F::TSIIDX.word == 0 && F::TSIIDX.lsb == F::PID.lsb + F::PID.width);
static_assert(std::all_of(F::ALL.begin(), F::ALL.end(), [](const Misc::BitField& field) {
    return field.word != 0 || field.name == F::PID.name || field.name == F::TSIIDX.name;
}));

uint32_t keyOf(const PidLutImage::Row& row) { return row.front(); }

PidLutImage::Row toRow(const PidLutEntry& entry)
{
    PidLutImage::Row row{};
    std::copy_n(entry.getWords().begin(), row.size(), row.begin());
    return row;
}

} // namespace

PidLutImage::Rows::iterator PidLutImage::lowerBound(uint32_t key)
{
    if (m_Rows.empty() || keyOf(m_Rows.back()) < key)
        return m_Rows.end();
    return std::lower_bound(m_Rows.begin(), m_Rows.end(), key,
                            [](const Row& row, uint32_t value) { return keyOf(row) < value; });
}

void PidLutImage::insert(const PidLutEntry& entry)
{
    const Row row = toRow(entry);
    const auto place = lowerBound(keyOf(row));
    if (place == m_Rows.end() || keyOf(*place) != keyOf(row))
        m_Rows.insert(place, row);
}

void PidLutImage::insertOrAssign(const PidLutEntry& entry)
{
    erase(entry.getTSIIDX(), entry.getPID());
    insert(entry);
}

void PidLutImage::erase(uint32_t tsiIdx, uint32_t pid)
{
    const uint32_t key = keyOf(tsiIdx, pid);
    eraseKeys(key, key + 1);
}

void PidLutImage::eraseTsi(uint32_t tsiIdx) { eraseKeys(keyOf(tsiIdx, 0), keyOf(tsiIdx + 1, 0)); }

void PidLutImage::eraseKeys(uint32_t first, uint32_t end) { m_Rows.erase(lowerBound(first), lowerBound(end)); }

} // namespace Osl::Drivers::Zeb
