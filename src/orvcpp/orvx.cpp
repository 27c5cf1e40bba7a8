// OrvX: construction, the text accessors and the full error report.
#include <vexapi/orvcpp/orvx.h>

#include <cstdio>
#include <cstring>

namespace OrvCPP {

namespace {

// Copies at most size - 1 bytes of `src` into `dst`, never splitting a UTF-8 sequence, and
// terminates. Returns the length written.
int copyCut(char* dst, int size, const char* src, std::size_t len)
{
    if (!dst || size <= 0)
        return 0;
    std::size_t n = len < std::size_t(size - 1) ? len : std::size_t(size - 1);
    // Step back over continuation bytes so that a multi-byte character is kept whole.
    if (n < len)
        while (n > 0 && (static_cast<unsigned char>(src[n]) & 0xC0) == 0x80)
            --n;
    std::memcpy(dst, src, n);
    dst[n] = 0;
    return int(n);
}

} // namespace

OrvX::OrvX()
    : m_systemError(0), m_line(0), m_pos(0), m_orvaneError(0), m_orvapiError(orvapiOk),
      m_orvapiErrorType(orvErrorNone), m_badParam(0), m_hasQuery(false)
{
}

OrvX::OrvX(VLong systemError, short orvaneError, short orvapiError, short orvapiErrorType,
           const char* query, const char* text)
    : m_text(text ? text : ""), m_systemError(systemError), m_line(0), m_pos(0),
      m_orvaneError(orvaneError), m_orvapiError(orvapiError),
      m_orvapiErrorType(orvapiErrorType), m_badParam(0), m_hasQuery(false)
{
    setQuery(query);
    // An error code without a reporter would read as "no error" to a waiter: say who.
    if (m_orvapiErrorType == orvErrorNone && m_orvapiError != orvapiOk)
        m_orvapiErrorType = m_orvapiError == orvapiServer ? orvErrorServer : orvErrorClient;
}

OrvX::OrvX(const OrvX& other) = default;
OrvX& OrvX::operator=(const OrvX& other) = default;
OrvX::~OrvX() = default;

OrvX OrvX::client(short orvapiError, const std::string& text, const char* query)
{
    return OrvX(0, 0, orvapiError, orvErrorClient, query, text.c_str());
}

char* OrvX::errorText(char* buffer, int size) const
{
    copyCut(buffer, size, m_text.data(), m_text.size());
    return buffer;
}

const char* OrvX::what() const noexcept { return m_text.c_str(); }

void OrvX::setSyntaxError(int line, int pos)
{
    if (line < 1 || pos < 1)
        line = pos = 0;
    m_line = line;
    m_pos = pos;
}

void OrvX::setQuery(const char* query)
{
    m_hasQuery = query != nullptr;
    m_query = query ? query : "";
}

std::string OrvX::message() const
{
    std::string out = m_text;
    out += '\n';
    char numbers[128];
    std::snprintf(numbers, sizeof numbers, "ErrType = %d ApiErr = %d OrvErr = %d SysErr = %ld\n",
                  int(m_orvapiErrorType), int(m_orvapiError), int(m_orvaneError),
                  long(m_systemError));
    out += numbers;
    if (m_hasQuery) {
        out += "QUERY:\n";
        if (m_line > 0) {
            // Find the start of the line, then the byte within it.
            std::size_t at = 0;
            for (int l = 1; l < m_line && at < m_query.size(); ++l) {
                std::size_t nl = m_query.find('\n', at);
                if (nl == std::string::npos) {
                    at = m_query.size();
                    break;
                }
                at = nl + 1;
            }
            at += std::size_t(m_pos - 1);
            if (at > m_query.size())
                at = m_query.size();
            out.append(m_query, 0, at);
            out += ">>>>";
            out.append(m_query, at, std::string::npos);
        } else {
            out += m_query;
        }
        out += '\n';
    }
    if (m_line > 0) {
        char pos[96];
        std::snprintf(pos, sizeof pos, "SYNTAX ERROR: LINE = %d, POS = %d\n", m_line, m_pos);
        out += pos;
    }
    if (m_badParam != 0) {
        char bad[48];
        std::snprintf(bad, sizeof bad, "INVALID PARAMETER %d\n", int(m_badParam));
        out += bad;
    }
    return out;
}

int OrvX::getMessage(char* buffer, int size) const
{
    const std::string m = message();
    return copyCut(buffer, size, m.data(), m.size());
}

} // namespace OrvCPP
