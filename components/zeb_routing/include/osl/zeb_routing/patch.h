#pragma once

#include <osl/zeb_routing/facts.h>
#include <osl/zeb_routing/problems.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Osl::ZebRouting {

/// What is to be taken away from a routing and added to it: lines as those of toText(Difference). Keeps each fact once,
/// so that of a long patch little is kept.
class Patch
{
public:
    Patch();
    ~Patch();
    Patch(Patch&&) noexcept;
    Patch& operator=(Patch&&) = delete;

    /// Takes a line: nothing, a comment, or a sign and a statement. A statement to be taken away may end behind what it
    /// is about, "-route 9:0x0100", and then stands for all its facts. What is wrong is told by applyTo().
    void addLine(std::string_view line);
    /// The same of a statement without a sign.
    void add(std::string_view statement);
    void remove(std::string_view statement);
    /// False once so much is wrong that the rest need not be read.
    bool takesMore() const;

    /// The routing without what is taken away, and then with what is added; to be called once. Raises SourceError for
    /// lines that are wrong, facts to be taken away that are not there, and facts that contradict one another or what
    /// stays.
    Routing applyTo(Routing routing);

private:
    struct Content;
    std::unique_ptr<Content> m_Content;
};

} // namespace Osl::ZebRouting
