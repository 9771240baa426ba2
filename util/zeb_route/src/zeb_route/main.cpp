#include "zeb_route/program.h"

int main(int argc, char** argv) { return Osl::ZebRoute::runProgram(argc, argv); }
