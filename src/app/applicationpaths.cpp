// Application: the program's folder, the savable folder and file, folders, temporary files
// and the table of temporary names.
#include <vexapi/app/application.h>
#include <vexapi/core/wstring.h>
#include <vexapi/core/wtext.h>

#include <vexapi/core/textfile.h>

#include "platform_paths.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

void appendAscii(WString& text, const char* ascii)
{
    while (*ascii)
        text += WChar(static_cast<unsigned char>(*ascii++));
}

const int SavableBufferSize = 4096;

// getSavableFile's process-wide buffer and the cached length of the folder in it.
WChar s_savableFile[SavableBufferSize];
int s_savableLength = 0;

// getTemporaryFile's two buffers: one per way of making the file.
const int SystemTempSize = 260;
WChar s_systemTempName[SystemTempSize];
WChar s_savableTempName[SavableBufferSize];

// The largest counter of the fallback names.
const int TempCounterLimit = 1000000000;

} // namespace

namespace VexAPI {
namespace detail {
void resetSavableFileCache()
{
    s_savableLength = 0;
}
} // namespace detail
} // namespace VexAPI

int Application::getExecutablePath(WChar* buffer, int size)
{
    const WString program = VexAPI::platform::programPath();
    std::size_t cut = 0;
    for (std::size_t i = 0; i < program.size(); ++i)
        if (isPathSep(program[i]))
            cut = i;
    return wstrlcpy(buffer, program.substr(0, cut).c_str(), size);
}

int Application::getSavablePath(WChar* buffer, int size, const WChar* subDir)
{
    if (buffer && size > 0)
        buffer[0] = 0;
    const WString folder = VexAPI::platform::userSettingsFolder();
    if (folder.empty())
        return getExecutablePath(buffer, size);

    // The path is built apart and copied out at the end, bounded by `size`, so that a
    // short buffer is never overrun; the length given is the whole path's.
    WString path = folder;
    path += pathSep();
    appendAscii(path, "ORVANE_GUI_CFG");
    // Folder creation answers only zero or non-zero, so neither fallback to the program's
    // folder below is ever taken: a folder that can't be made is ignored and the path is
    // given all the same. Callers get the path they asked for, made or not.
    if (VexAPI::platform::makeDirectory(path.c_str(), nullptr) == 3)
        return getExecutablePath(buffer, size);
    if (subDir) {
        if (!isPathSep(subDir[0]))
            path += pathSep();
        path += subDir;
        if (VexAPI::platform::makeDirectory(path.c_str(), nullptr) == 3)
            return getExecutablePath(buffer, size);
    }
    return wstrlcpy(buffer, path.c_str(), size);
}

const WChar* Application::getSavableFile(const WChar* name)
{
    if (!name)
        name = WSTR("");
    if (s_savableLength <= 0) {
        int length = getSavablePath(s_savableFile, SavableBufferSize);
        // A folder too long for the buffer can't be used; it counts as none.
        s_savableLength = length < SavableBufferSize - 1 ? length : 0;
    }
    std::size_t at = 0;
    if (s_savableLength > 0) {
        at = std::size_t(s_savableLength);
        s_savableFile[at++] = pathSep();
    }
    std::size_t n = std::size_t(wstrlen(name));
    if (n > SavableBufferSize - 1 - at)
        n = SavableBufferSize - 1 - at;
    std::memcpy(s_savableFile + at, name, n * sizeof(WChar));
    s_savableFile[at + n] = 0;
    return s_savableFile;
}

bool Application::createDirectory(const WChar* base, const WChar* path)
{
    if (!base || !*base || !path || !*path || !isPathAbsolute(base))
        return false;
    WString buffer(base);
    if (!isPathSep(buffer.back()))
        buffer += pathSep();
    if (buffer.size() + std::size_t(wstrlen(path)) >= SavableBufferSize)
        return false;
    for (const WChar* p = path;; ++p) {
        if (*p && !isPathSep(*p)) {
            buffer += *p;
            continue;
        }
        // A separator in `path` right after another (or at its start) adds no folder.
        if (!isPathSep(buffer.back())) {
            int error = 0;
            if (!VexAPI::platform::makeDirectory(buffer.c_str(), &error)
                && error != VexAPI::platform::AlreadyExists)
                return false;
            buffer += pathSep();
        }
        if (!*p)
            return true;
    }
}

WChar* Application::getTemporaryFile()
{
    const WString folder = VexAPI::platform::tempFolder();
    // 245 leaves room for the file name in MAX_PATH, as GetTempFileNameW needs.
    if (!folder.empty() && folder.size() <= 245) {
        const WString made = VexAPI::platform::createTempFile(folder.c_str(), WSTR("VXL"));
        if (!made.empty() && made.size() < std::size_t(SystemTempSize)) {
            wstrlcpy(s_systemTempName, made.c_str(), SystemTempSize);
            return s_systemTempName;
        }
        // A name too long for the buffer is not handed out half: the file goes again.
        if (!made.empty())
            VexAPI::platform::removeFile(made.c_str());
    }

    int at = getSavablePath(s_savableTempName, SavableBufferSize, WSTR("Temp"));
    // Room for the separator and the longest name ("2147483647_999999999.tmp").
    if (at <= 0 || at >= SavableBufferSize - 40)
        return nullptr;
    s_savableTempName[at++] = pathSep();
    int pid = GetPID();
    for (int counter = 0; counter < TempCounterLimit; ++counter) {
        char name[40];
        std::snprintf(name, sizeof name, "%d_%d.tmp", pid, counter);
        int i = 0;
        for (; name[i]; ++i)
            s_savableTempName[at + i] = WChar(name[i]);
        s_savableTempName[at + i] = 0;
        if (fsEntryExist(s_savableTempName))
            continue;
        std::FILE* file = wfopen(s_savableTempName, "w");
        if (file) {
            std::fclose(file);
            return s_savableTempName;
        }
        // A free name that still can't be made means the folder itself refuses files; the
        // remaining numbers would fail alike, a billion times over.
        return nullptr;
    }
    return nullptr;
}

bool Application::addTmpFileName(const WChar* name)
{
    if (!name)
        return false;
    for (WChar* known : m_tmpFileNames)
        if (wstrcmp(known, name) == 0)
            return false;
    m_tmpFileNames.add(wstrdup(name));
    return true;
}

bool Application::delTmpFileName(const WChar* name, bool removeFile)
{
    if (!name)
        return false;
    for (int i = 0; i < m_tmpFileNames.size(); ++i) {
        WChar* known = m_tmpFileNames[i];
        if (wstrcmp(known, name) != 0)
            continue;
        m_tmpFileNames.remove(i);
        // The name goes to the system in its 16-bit form, so that names outside the 8-bit
        // code page are removed too.
        if (removeFile)
            VexAPI::platform::removeFile(known);
        delete[] known;
        return true;
    }
    return false;
}

int Application::clearTmpFileNames(bool removeFiles)
{
    int count = m_tmpFileNames.size();
    for (int i = count - 1; i >= 0; --i) {
        WChar* known = m_tmpFileNames[i];
        m_tmpFileNames.remove(i);
        if (removeFiles)
            VexAPI::platform::removeFile(known);
        delete[] known;
    }
    return count;
}
