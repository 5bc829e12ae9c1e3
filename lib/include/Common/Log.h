// Public header: the process-wide log.
#pragma once

#include <cstdarg>

enum LOG_LEVEL : int { _ALL = 0, _DEBUG = 1, _WARN = 2, _ERROR = 3 };

// Sets up the one log of the process: makes the executable's directory the working directory,
// reads level and FileName of section [log] from the configuration file and opens
// ./log/<file name>. fileName null means the configured one. 1 on success, 0 when the log file
// cannot be opened (lines then go to the console only).
int InitializeLog(const char* configFile, const char* fileName);

// Writes one line to the console (coloured) and to the log file. The tag is by convention the
// caller's qualified method name and, like the format, never text from a peer. Lines longer than
// the buffers are cut. Any thread.
void __log(LOG_LEVEL level, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// True when a line of this level would be written; lets callers skip costly arguments.
bool LogEnabled(LOG_LEVEL level);
