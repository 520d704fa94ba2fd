#include "cli/command.h"

int main(int argc, char** argv) { return cli::RunMain(argc, argv); }
