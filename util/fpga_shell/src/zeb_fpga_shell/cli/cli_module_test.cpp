#include "zeb_fpga_shell/cli/cli_module.h"
#include "zeb_fpga_shell/shell_error.h"

#include <osl/testing/test.h>

using namespace Osl::Utils;

TEST(CliModuleTest, NamesMustBeNewAndNotReserved)
{
    struct NoCmd : CliCmd
    {
        explicit NoCmd(const std::string& name) : CliCmd(name, "", "") {}
        int doCommand(Options&, std::ostream&, std::istream&) override { return 0; }
    };
    CliModule module;
    module.addCmd(std::make_unique<NoCmd>("read"));
    for (const std::string name : {"read", "list", "help"})
        EXPECT_THAT(failureOf<ShellError>([&] { module.addCmd(std::make_unique<NoCmd>(name)); }),
                    StartsWith("Shell Error: Redundant command strings are not allowed. \"" + name +
                               "\" is already added to the CliModule.("));
    EXPECT_THAT(failureOf<ShellError>([&] { module.addCmd(std::make_unique<NoCmd>("")); }),
                StartsWith("Shell Error: Empty cmd strings are not allowed.("));
}
