// lmc-tool: builds and inspects load module containers.

#include <iostream>
#include <string>
#include <vector>

#include "lmc-tool/lmc_tool.h"

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  kvn::lmc::LmcTool tool(std::cout, std::cerr);
  return tool.run(args);
}
