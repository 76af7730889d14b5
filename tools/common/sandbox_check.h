// Tells whether this process runs inside the sandbox of scripts/sandbox.sh:
// a private network namespace where broadcasts never reach a real network.
#ifndef ZEPTA_TOOLS_SANDBOX_CHECK_H
#define ZEPTA_TOOLS_SANDBOX_CHECK_H

namespace zepta_tools {

bool InSandbox();

}  // namespace zepta_tools

#endif
