#pragma once
// Counts SIGINTs. The handler only counts; whoever waits looks at the count between receives.
// It is installed without SA_RESTART, so that a read at the prompt returns at a Ctrl-C.

namespace kvnsh {

class InterruptCounter {
 public:
  static void install();
  static unsigned count();
};

}  // namespace kvnsh
