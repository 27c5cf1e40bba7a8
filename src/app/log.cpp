// Log: the plain log file.
#include <vexapi/app/log.h>

#include <vexapi/core/charset.h>
#include <vexapi/core/textfile.h>
#include <vexapi/core/wtext.h>

#include <cstring>
#include <ctime>

Log::Log() : m_file(nullptr), m_fileName(nullptr), m_started(false), m_ownsFile(false)
{
}

Log::~Log()
{
    if (m_started)
        stopLog();
    if (m_ownsFile && m_file)
        std::fclose(m_file);
    delete[] m_fileName;
}

void Log::setLogFile(const WChar* name)
{
    WChar* copy = wstrdup(name);
    delete[] m_fileName;
    m_fileName = copy;
}

void Log::setLogFile(std::FILE* file)
{
    // A stream opened from the old name would otherwise be left open with nobody to close it.
    if (m_ownsFile && m_file)
        std::fclose(m_file);
    m_file = file;
    m_ownsFile = false;
    delete[] m_fileName;
    m_fileName = nullptr;
}

bool Log::startLog()
{
    if (m_started)
        return true;
    if (m_fileName) {
        std::FILE* file = wfopen(m_fileName, "a+t");
        if (!file)
            return false;
        if (m_ownsFile && m_file)
            std::fclose(m_file);
        m_file = file;
        m_ownsFile = true;
    }
    if (!m_file)
        return false;
    writeStamp(": log started\n\n");
    m_started = true;
    return true;
}

void Log::stopLog()
{
    if (!m_started)
        return;
    writeStamp(": log finished\n\n");
    m_started = false;
    if (m_ownsFile) {
        std::fclose(m_file);
        m_file = nullptr;
        m_ownsFile = false;
    }
}

bool Log::addLogMessage(const WChar* text)
{
    if (!m_started)
        return false;
    // In the locale's 8-bit charset, cut at 1,024 bytes; a character it lacks becomes '?'.
    char narrow[1025];
    const WChar* wide = text ? text : WSTR("");
    const char* charset = getStdCharset();
    if (!charset || wcs2mbs(narrow, wide, charset, int(sizeof narrow), -1) < 0)
        wcs2mbs(narrow, wide, "UTF-8", int(sizeof narrow), -1);
    std::fprintf(m_file, "%s\n", narrow);
    std::fflush(m_file);
    return true;
}

void Log::writeStamp(const char* what)
{
    std::time_t now = std::time(nullptr);
    // Local time, read on the main thread only (the log is not shared between threads).
    const std::tm* t = std::localtime(&now);
    if (t)
        std::fprintf(m_file, "%2d.%2d.%4d:%2d:%2d:%2d", t->tm_mday, t->tm_mon + 1,
                     t->tm_year + 1900, t->tm_hour, t->tm_min, t->tm_sec);
    std::fputs(what, m_file);
    std::fflush(m_file);
}
