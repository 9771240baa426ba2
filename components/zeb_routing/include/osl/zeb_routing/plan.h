#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/tables.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Osl::ZebRouting {

/// One thing that is done to the board on the way from one routing to another. Before, between and after any two
/// writes every packet is routed as before or as wanted, unless the plan's notes say otherwise.
struct Step
{
    /// A store of one 32-bit word; `offset` counts words in the memory of the table's block.
    struct Write
    {
        uint32_t offset;
        uint32_t value;
    };

    std::string text; ///< what it does, for an engineer
    const Tables::Layout* table = nullptr;
    std::vector<Write> writes{};  ///< to rows in place, in this order; none for a table with two banks
    std::vector<uint32_t> bank{}; ///< of a table with two banks: all words of the one that takes over
    std::size_t rows = 0;         ///< that change
    /// Packets on their way still use what this step changes: it waits for them to leave.
    bool settlesFirst = false;
};

/// The ordered steps that lead from one state of the tables to another. A value: nothing is written by making it.
struct Plan
{
    std::vector<Step> steps;
    std::vector<std::string> notes; ///< what the user should know before it is executed
    Tables result;                  ///< the tables when all is done

    std::size_t rowsWritten() const;
    std::size_t switches() const; ///< of tables with two banks
};

/// Plans how the tables come to say exactly the wanted facts: new rows before those that use them, tables with two
/// banks in one switch, rows that nobody needs any more last. Nothing that is right already is written. Filters stay
/// as they are when `wanted` says nothing about them. Raises RoutingError, naming the table, when there are not enough
/// rows.
Plan planChange(const Tables& present, const Routing& wanted);

/// What broke a plan off: the step, the reason, and what was done before.
struct PlanError : RoutingError
{
    using RoutingError::RoutingError;
};

/// Does what the plan says, in its order. `settle` waits for packets that are on their way to leave. Raises PlanError
/// for anything that breaks it off; then all steps before are done, and planning and executing anew completes it.
void execute(const Plan& plan, Drivers::IMemIf& pidMemory, Drivers::IMemIf& ioMemory,
             const std::function<void()>& settle);

} // namespace Osl::ZebRouting
