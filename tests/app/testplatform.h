// Test-side services that differ by platform: starting a test program, the environment,
// and the shape of the platform's paths. One implementation in posix/, one in win32/.
#pragma once

#include <vexapi/core/types.h>
#include <vexapi/core/wstring.h>

#include <string>
#include <vector>


struct ProgramRun {
    bool started = false;
    int exitCode = -1;
    std::string output; // what it wrote to stdout
};

// Runs `program` (a file name in the folder of the test executable) with `args` after its
// own name, waits for it and collects its output. On Windows the line is built with
// MakeCommandLineW, so the program's entry splits it back into `args`.
ProgramRun runProgram(const char* program, const std::vector<WString>& args);

// Sets an environment variable of this process (null removes it), as the platform's own
// calls see it; gives the value it had, and whether it was set.
std::string setEnvironment(const char* name, const char* value, bool* wasSet);

// Sets variables for a scope, restoring them at its end.
class EnvironmentScope {
public:
    EnvironmentScope() = default;
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;
    ~EnvironmentScope();
    void set(const char* name, const char* value);

private:
    struct Saved {
        std::string name;
        std::string value;
        bool wasSet;
    };
    std::vector<Saved> m_saved;
};

// What makes the system put temporary files in a folder ("TMPDIR" or "TMP").
const char* tempFolderVariable();

// Where the per-user settings folder is, for a test that wants it in `scratch`. On Linux
// it sets XDG_CONFIG_HOME in `scope` and gives that folder. Windows takes the folder from
// the shell with no way to move it for one process (Wine ignores the environment and
// per-process registry overrides), so it gives the real one, read through another shell
// call than the library uses; tests then work in a folder of their own name below it and
// remove it.
WString userSettingsRoot(EnvironmentScope& scope, const WString& scratch);

// Paths with whether isPathAbsolute holds for them.
struct PathCase {
    WString path;
    bool absolute;
};
std::vector<PathCase> pathCases();
// Characters with whether isPathSep holds for them.
std::vector<std::pair<int, bool>> separatorCases();
WString expectedLineEnd();
