// The lomarind program: reads the command line and answers one question.
#include <iostream>
#include <string>
#include <vector>

#include "cli/command_line.h"

int main(int argc, char** argv) {
  using namespace lomarind::cli;
  const ParsedCommandLine parsed =
      parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
  std::cout << parsed.out;
  std::cerr << parsed.err;
  return parsed.exit_code;
}
