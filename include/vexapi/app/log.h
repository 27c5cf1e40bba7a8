// Log: the plain log file, with time-stamped start and end lines and bare messages.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

#include <cstdio>

// A text log. It writes to a file it opens itself from a name (in append mode, "a+t"), or
// to a stream it is given and never closes. Start and end lines carry the local time as
// "dd.mm.yyyy:hh:mm:ss" (each field printed with %2d, the year with %4d); messages carry
// none, and there are no levels. Each line is flushed as it is written.
class VEXAPI_API Log {
public:
    Log();
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    // Takes a copy of the name; it is opened at the next startLog.
    void setLogFile(const WChar* name);
    // Writes to `file` from now on, dropping the name. The Log does not close it; a stream
    // it had opened itself is closed first.
    void setLogFile(std::FILE* file);

    // Opens the named file (when a name is set) and writes the start line. True at once
    // when already started; false when the file can't be opened or nothing is set.
    bool startLog();
    // Writes the end line and closes the stream if the Log opened it.
    void stopLog();
    // Writes `text` as a line of its own, narrowed to the locale's encoding (at most 1024
    // bytes). False when the log is not started.
    bool addLogMessage(const WChar* text);

    bool isStarted() const { return m_started; }

private:
    void writeStamp(const char* what);

    std::FILE* m_file;
    WChar* m_fileName;
    bool m_started;
    bool m_ownsFile; // m_file was opened by startLog from m_fileName
};
