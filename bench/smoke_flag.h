#pragma once
// The "--smoke" argument of a benchmark program, which asks for the short run that CI makes:
// taken out of the arguments before Google Benchmark reads them.

namespace kvn::bench {

class SmokeFlag {
 public:
  // True when "--smoke" stands among the arguments; it is removed from them.
  static bool take(int& argc, char** argv);
};

}  // namespace kvn::bench
