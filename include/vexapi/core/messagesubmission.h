// MessageSubmission: the process-wide switches that decide what a message box does.
#pragma once

#include <vexapi/core/api.h>

class Log;

// Read by the message boxes: a set logger receives every message's title and text, and in
// quiet mode a message box shows nothing and returns -1, so an unattended program runs to
// its end and leaves its messages in the log.
class VEXAPI_API MessageSubmission {
public:
    static void setQuietMode(bool quiet);
    static bool isQuietMode();
    static void setLogger(Log* logger);
    static Log* getLogger();

private:
    static bool sm_quietMode;
    static Log* sm_logger;
};
