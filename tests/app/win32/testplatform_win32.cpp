// Test-side services on Windows: CreateProcessW with a pipe, the process environment, and
// the shape of paths.
#include "../testplatform.h"

#include <vexapi/app/application.h>
#include <vexapi/app/commandargs.h>

#include <windows.h>
#include <knownfolders.h>
#include <shlobj.h>

#include <cstdlib>

ProgramRun runProgram(const char* program, const std::vector<WString>& args)
{
    ProgramRun run;
    WChar folder[MAX_PATH];
    Application::getExecutablePath(folder, MAX_PATH);
    WString path = WString(folder) + L'\\';
    for (const char* p = program; *p; ++p)
        path += WChar(*p);

    std::vector<const WChar*> argv{path.c_str()};
    for (const WString& arg : args)
        argv.push_back(arg.c_str());
    WChar* line = MakeCommandLineW(int(argv.size()), argv.data());

    SECURITY_ATTRIBUTES inherit = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!line || !CreatePipe(&readEnd, &writeEnd, &inherit, 0)) {
        std::free(line);
        return run;
    }
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup;
    ZeroMemory(&startup, sizeof startup);
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process;
    ZeroMemory(&process, sizeof process);
    BOOL created = CreateProcessW(path.c_str(), line, nullptr, nullptr, TRUE, 0, nullptr,
                                  nullptr, &startup, &process);
    CloseHandle(writeEnd);
    std::free(line);
    if (created) {
        run.started = true;
        char buffer[4096];
        DWORD n = 0;
        while (ReadFile(readEnd, buffer, sizeof buffer, &n, nullptr) && n > 0)
            run.output.append(buffer, n);
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        run.exitCode = int(code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    CloseHandle(readEnd);
    // The C runtime writes "\r\n" for a line end on Windows; compare lines as on Linux.
    std::string lines;
    for (char c : run.output)
        if (c != '\r')
            lines += c;
    run.output = lines;
    return run;
}

std::string setEnvironment(const char* name, const char* value, bool* wasSet)
{
    // The Win32 environment, which GetTempPathW reads (the C runtime keeps a copy of its own).
    char old[32768];
    DWORD n = GetEnvironmentVariableA(name, old, sizeof old);
    if (wasSet)
        *wasSet = n > 0 && n < sizeof old;
    std::string previous = n > 0 && n < sizeof old ? std::string(old, n) : std::string();
    SetEnvironmentVariableA(name, value);
    return previous;
}

const char* tempFolderVariable()
{
    return "TMP";
}

WString userSettingsRoot(EnvironmentScope&, const WString&)
{
    PWSTR folder = nullptr;
    WString root;
    if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_RoamingAppData, 0, nullptr, &folder)))
        root = folder;
    CoTaskMemFree(folder);
    return root;
}

std::vector<PathCase> pathCases()
{
    return {{L"C:\\windows", true}, {L"c:", true},   {L"Z:/tmp/x", true},
            {L"relative\\dir", false}, {L"\\root", false}, {L"\\\\server\\share", false},
            {L"/usr/lib", false},    {L"", false}};
}

std::vector<std::pair<int, bool>> separatorCases()
{
    return {{'/', true}, {'\\', true}, {':', false}, {'a', false}, {0, false}};
}

WString expectedLineEnd()
{
    return L"\r\n";
}
