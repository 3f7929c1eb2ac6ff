#pragma once

/// "arkhost status": asks the supervisor that runs, and prints what it says. The exit status of the process.
/// Waits where it stands; there is nothing else to do.
int runStatusCommand(bool wantsJson, int timeoutMs);
