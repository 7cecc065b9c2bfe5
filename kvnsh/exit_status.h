#pragma once
// The shell's own exit statuses. A command that ran exits with its one-byte result, which is
// 0, 1 or 2 for nearly all commands; the shell's own failures lie in the 100s so that neither
// is mistaken for the other. `kvnsh --help` lists them.

namespace kvnsh {

enum ExitStatus : int {
  kExitUsage = 100,                  // bad option or command line; nothing was sent
  kExitNoHub = 101,                  // the mailbox hub cannot be reached
  kExitNoService = 102,              // no mailbox of the service's name
  kExitRefusedVersion = 103,         // refused: bad protocol version
  kExitRefusedNotImplemented = 104,  // refused: command not implemented
  kExitServiceGone = 105,            // the service or the hub went away mid-command
  kExitOutputFailed = 106,           // the output could not be written
  kExitInterrupted = 107,            // a second Ctrl-C: the shell stopped waiting for the end
  kExitProtocolError = 108,          // the service refused for a reason this shell does not know
  kExitNotAllowed = 109,             // the hub refused: not its user nor a member of its group
  kExitHubFull = 110,                // the hub refused: too many connections
};

}  // namespace kvnsh
