#include "zeb_fpga_shell/program.h"

int main(int argc, char** argv) { return Osl::Utils::runProgram(argc, argv); }
