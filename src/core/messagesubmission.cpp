// MessageSubmission: the two process-wide statics.
#include <vexapi/core/messagesubmission.h>

bool MessageSubmission::sm_quietMode = false;
Log* MessageSubmission::sm_logger = nullptr;

void MessageSubmission::setQuietMode(bool quiet)
{
    sm_quietMode = quiet;
}

bool MessageSubmission::isQuietMode()
{
    return sm_quietMode;
}

void MessageSubmission::setLogger(Log* logger)
{
    sm_logger = logger;
}

Log* MessageSubmission::getLogger()
{
    return sm_logger;
}
