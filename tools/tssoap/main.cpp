// tssoap: the command-line tool that runs the tssoapclient90 extension outside the runtime.
#include <iostream>
#include <string>
#include <vector>

#include "tools/tssoap/commands.h"

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  int status = tssoap::cli::RunCommandLine(
      arguments, tssoap::cli::ToolPaths::FromBuildAndEnvironment(), std::cout, std::cerr);
  std::cout.flush();
  return status;
}
