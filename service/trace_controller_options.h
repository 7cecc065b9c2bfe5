#pragma once

#include <string>

// The process options of kvn-tracecontroller, with their defaults.
class TraceControllerOptions {
 public:
  std::string instanceName;
  std::string mailboxName = "kvn-tracecontroller";
  std::string lmcPath;  // accepted and kept; the containers are found elsewhere
  std::string nameSpace;

  // Reads argv with popt. On a bad command line logs why and returns -1 (main's exit value);
  // else 0.
  int read(int argc, const char** argv);
};
