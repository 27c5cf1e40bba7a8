// LException: the base of the client layer's own exceptions (the XML family among them),
// carrying one message text.
#pragma once

#include <vexapi/core/api.h>

#include <exception>
#include <string>

// An exception with a message in 8-bit text (UTF-8), the form in which the client layer and
// the XML files speak. `what()` gives the same text, so a handler for std::exception sees
// it too.
class VEXAPI_API LException : public std::exception {
public:
    explicit LException(const char* message);
    explicit LException(const std::string& message);
    ~LException() override;

    const char* message() const noexcept { return m_message.c_str(); }
    const char* what() const noexcept override;

private:
    std::string m_message;
};
