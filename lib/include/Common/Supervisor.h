// Public header: what the process tells whoever runs it as a service.
#pragma once

// True when a supervisor asked to be told, by the environment variable NOTIFY_SOCKET.
bool HasSupervisor();

// Sends one datagram of lines NAME=value, such as "READY=1", to the supervisor's socket, whose name
// may be a path or, behind an @, an abstract one. False without a supervisor and when it cannot be
// reached; never waits for it. Thread: any with a large stack.
bool TellSupervisor(const char* state);

// Announces that the configuration is being read again; ends with the next "READY=1".
bool TellReloading();
