// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// SIGINT, SIGTERM and SIGHUP end the host's work cleanly instead of killing it: they are noted,
// a wait between syncs ends at once, and the program returns through its destructors (the module
// object among them, which removes its pictures) with the exit status 128 + the signal. SIGPIPE
// is ignored, so that a reader that went away shows as a failed write.
namespace host {

// Installs the handlers; call once, before the work starts.
void installStopSignals();

// The signal that asked the program to stop; 0 while none has.
int stopSignal();

// Waits `seconds` or until a stop signal arrives; false when a signal ended the wait (or had
// arrived before it).
bool waitUnlessStopped(double seconds);

}  // namespace host
