// Setting the process's log up, and the one logging call.
#include "Common/Log.h"

#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "Common/GLogService.h"
#include "Common/IniFile.h"

GLogService& g_log = *new GLogService;

namespace {

// All relative paths of the process are relative to the executable.
void EnterExecutableDirectory() {
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    char* slash = length > 0 ? std::strrchr(path, '/') : nullptr;
    if (slash == nullptr) return;
    *slash = '\0';
    if (chdir(path[0] ? path : "/") != 0) std::perror(path);
}

int ConfiguredLevel(const CIniFile& config) {
    static constexpr struct {
        const char* text;
        int level;
    } kLevels[] = {{"ERROR", _ERROR}, {"WARN", _WARN}, {"DEBUG", _DEBUG}};
    char text[1024] = {};
    config.GetValueStr("log", "level", text, sizeof(text));
    for (const auto& row : kLevels) {
        if (strcasecmp(text, row.text) == 0) return row.level;
    }
    return _ALL;
}

// A handler that somebody has set stays.
void IgnoreBrokenPipes() {
    struct sigaction action {};
    if (sigaction(SIGPIPE, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
        signal(SIGPIPE, SIG_IGN);
}

}  // namespace

int InitializeLog(const char* configFile, const char* fileName) {
    EnterExecutableDirectory();
    IgnoreBrokenPipes();
    const CIniFile config(configFile);
    g_log.SetLevel(ConfiguredLevel(config));
    g_log.SetMost(config.GetValueInt("log", "most_lines", 0));
    mkdir("log", 0777);

    char configured[512] = {};
    const int size = config.GetValueStr("log", "FileName", configured, sizeof(configured));
    if (fileName == nullptr)
        fileName =
            size > 0 && size <= static_cast<int>(sizeof(configured)) ? configured : "test.log";
    char path[sizeof(configured) + 8];
    std::snprintf(path, sizeof(path), "./log/%s", fileName);
    if (config.GetValueInt("log", "json", 0) != 0 && !g_log.OpenJson(path))
        std::fprintf(stderr, "%s: section [log], key \"json\": the file cannot be opened\n",
                     configFile);
    return g_log.InitLog(path, false, false, true) ? 1 : 0;
}

void TellLeftOutLines() {
    g_log.TellLeftOut();
}

void ReloadLogLevel(const char* configFile) {
    g_log.SetLevel(ConfiguredLevel(CIniFile(configFile)));
}

void ShutdownLog() {
    g_log.SetLevel(-1);
    g_log.CloseLog();
    g_log.CloseJson();
}

void __log(LOG_LEVEL level, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_log.__log(level, tag, format, arguments);
    va_end(arguments);
}

void LogAlways(const char* tag, const char* format, ...) {
    if (!g_log.Enabled(_ERROR)) return;  // not set up yet
    va_list arguments;
    va_start(arguments, format);
    g_log.WriteAlways(_ALL, tag, format, arguments);
    va_end(arguments);
}

bool LogEnabled(LOG_LEVEL level) {
    return g_log.Enabled(level);
}
