// Test-side services on Linux: posix_spawn with a pipe, setenv, and the shape of paths.
#include "../testplatform.h"

#include <vexapi/app/application.h>
#include <vexapi/core/charset.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

std::string toUtf8(const WString& s)
{
    return utf8FromWide(s.c_str());
}

} // namespace

ProgramRun runProgram(const char* program, const std::vector<WString>& args)
{
    ProgramRun run;
    WChar folder[4096];
    Application::getExecutablePath(folder, 4096);
    std::string path = toUtf8(folder) + "/" + program;

    std::vector<std::string> texts{path};
    for (const WString& arg : args)
        texts.push_back(toUtf8(arg));
    std::vector<char*> argv;
    for (std::string& text : texts)
        argv.push_back(&text[0]);
    argv.push_back(nullptr);

    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return run;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
    posix_spawn_file_actions_addclose(&actions, pipeEnds[1]);
    pid_t child = 0;
    int spawned = posix_spawn(&child, path.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (spawned == 0) {
        run.started = true;
        char buffer[4096];
        for (;;) {
            ssize_t n = read(pipeEnds[0], buffer, sizeof buffer);
            if (n > 0)
                run.output.append(buffer, std::size_t(n));
            else if (n == 0 || errno != EINTR)
                break;
        }
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    close(pipeEnds[0]);
    return run;
}

std::string setEnvironment(const char* name, const char* value, bool* wasSet)
{
    const char* old = std::getenv(name);
    if (wasSet)
        *wasSet = old != nullptr;
    std::string previous = old ? old : "";
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
    return previous;
}

const char* tempFolderVariable()
{
    return "TMPDIR";
}

WString userSettingsRoot(EnvironmentScope& scope, const WString& scratch)
{
    WString root = scratch + WChar('/') + u"config";
    scope.set("XDG_CONFIG_HOME", toUtf8(root).c_str());
    return root;
}

std::vector<PathCase> pathCases()
{
    return {{u"/", true},           {u"/usr/lib", true}, {u"relative/dir", false},
            {u"./here", false},     {u"", false},        {u"C:\\windows", false},
            {u"\\\\server\\share", false}};
}

std::vector<std::pair<int, bool>> separatorCases()
{
    return {{'/', true}, {'\\', false}, {':', false}, {'a', false}, {0, false}};
}

WString expectedLineEnd()
{
    return u"\n";
}
