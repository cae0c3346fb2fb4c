// tssoap: the command-line tool that runs the tssoapclient90 extension outside the runtime.
#include <clocale>
#include <iostream>
#include <string>
#include <vector>

#include "tools/tssoap/commands.h"

int main(int argc, char** argv) {
  // The tool is the host: its text is in the environment's code page, as the extension expects.
  std::setlocale(LC_ALL, "");
  std::vector<std::string> arguments(argv + 1, argv + argc);
  int status = tssoap::cli::RunCommandLine(
      arguments, tssoap::cli::ToolPaths::FromBuildAndEnvironment(), std::cout, std::cerr);
  std::cout.flush();
  return status;
}
