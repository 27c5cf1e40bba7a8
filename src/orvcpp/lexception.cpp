// LException: the message-carrying base exception of the client layer.
#include <vexapi/orvcpp/lexception.h>

LException::LException(const char* message) : m_message(message ? message : "") {}

LException::LException(const std::string& message) : m_message(message) {}

// Out of line, so that the class's vtable and type information live in the library and a
// catch in an application matches what the library throws.
LException::~LException() = default;

const char* LException::what() const noexcept { return m_message.c_str(); }
