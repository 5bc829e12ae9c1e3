// Public header: the process-wide log.
#pragma once

#include <cstdarg>

#include "Common/Metrics.h"

enum LOG_LEVEL : int { _ALL = 0, _DEBUG = 1, _WARN = 2, _ERROR = 3 };

// Sets up the one log of the process: makes the executable's directory the working directory,
// reads level and FileName of section [log] from the configuration file and opens
// ./log/<file name>, which is rolled over when the day changes. fileName null means the
// configured one. With key json not 0 every line also goes, as one JSON object, to a file of the
// same name with the extension .json, rolled over alike. With key most_lines above 0 no more lines
// than that are written in a second, and how many were left out is told. 1 on success; 0 when the
// log file cannot be opened (lines then go to the console only) or the log is already open. A
// SIGPIPE nobody handles is ignored from then on: a console that went away must not end the
// process. Thread: main, before others log.
int InitializeLog(const char* configFile, const char* fileName);

// From now on nothing waits for whoever reads standard output or standard error: what is not taken
// at once is dropped, and said when it is taken again. Thread: main, once, before InitializeLog.
void UnblockConsole();
inline Counter g_ConsoleDropped;  // lines

// Writes how many lines an earlier second left out, unless a later line has done so already. To be
// called now and then by whoever has a timer. Any thread.
void TellLeftOutLines();
inline Counter g_LogLeftOut;  // lines

// Reads the level anew from the configuration file. Thread: any with a large stack.
void ReloadLogLevel(const char* configFile);

// Back to the state before InitializeLog: the file is closed and nothing is written. For tests,
// which set the log up again elsewhere. Any thread.
void ShutdownLog();

// Writes one line to the console (coloured) and to the log file, both flushed. The tag is by
// convention the caller's qualified method name and, like the format, never text from a peer: a
// '%' in either is a directive. Control characters in the line are written as "\x1b", in JSON as
// JSON has them; only line breaks at the very end of the format stay. Lines of more than 2 KiB are
// cut; errno is left as it was.
// Thread: any, from a 16 KiB stack too: the buffers are made once per thread, on the heap, and a
// line costs under 3 KiB of stack.
void __log(LOG_LEVEL level, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// As above with level ALL, but written whatever the configured level: for what every log has to
// say.
void LogAlways(const char* tag, const char* format, ...) __attribute__((format(printf, 2, 3)));

// True when a line of this level would be written; lets callers skip costly arguments.
bool LogEnabled(LOG_LEVEL level);
