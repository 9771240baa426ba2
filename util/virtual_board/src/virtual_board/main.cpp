#include "virtual_board/program.h"

int main(int argc, char** argv) { return Osl::VirtualBoard::runProgram(argc, argv); }
