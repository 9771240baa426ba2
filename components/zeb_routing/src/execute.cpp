#include <osl/cpputils/error_text.h>
#include <osl/userspace_drivers/drivers/zeb/ts/bankedtable.h>
#include <osl/zeb_routing/plan.h>

#include <fmt/format.h>

#include <atomic>

namespace Osl::ZebRouting {

using Drivers::Zeb::BankedTable;
using Drivers::Zeb::TableBlock;

namespace {

/// The FPGA must see what was written before what is written next.
void barrier() { std::atomic_thread_fence(std::memory_order_seq_cst); }

void replaceBank(const Step& step, Drivers::IMemIf& memory)
{
    BankedTable banks(memory, *step.table);
    banks.fill(step.bank);
    barrier();
    if (step.table->idleIsReadable && !banks.idleHolds(step.bank))
        OSL_RAISE(RoutingError,
                  fmt::format("the other bank of the {} does not hold what was written to it", step.table->name));
    banks.switchBanks();
    barrier();
}

void executeStep(const Step& step, Drivers::IMemIf& memory)
{
    if (!step.bank.empty())
        replaceBank(step, memory);
    for (const auto& [offset, value] : step.writes) {
        memory.write32(offset, value);
        barrier();
    }
}

} // namespace

void execute(const Plan& plan, Drivers::IMemIf& pidMemory, Drivers::IMemIf& ioMemory,
             const std::function<void()>& settle)
{
    std::size_t done = 0;
    try {
        for (const Step& step : plan.steps) {
            if (step.settlesFirst)
                settle();
            executeStep(step, step.table->block == TableBlock::PID ? pidMemory : ioMemory);
            ++done;
        }
    } catch (const std::exception& error) {
        OSL_RAISE(PlanError,
                  fmt::format("broken off at \"{}\": {}; {} of {} steps were done before", plan.steps[done].text,
                              CppUtil::withoutPlace(error.what()), done, plan.steps.size()));
    }
}

} // namespace Osl::ZebRouting
