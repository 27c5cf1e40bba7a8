// CExpansionSink: the receiver of a walk over the expansion of rows and blocks, and the
// sinks the text storage copies and searches with. Internal to the storage.
#pragma once

#include "edittext.h"

#include <vexapi/core/types.h>

// Receives the expansion in pieces. A forward walk hands the pieces in text order; a
// backward walk hands them from the last to the first (each piece itself in text order).
// `put` answers false to stop the walk.
class CExpansionSink {
public:
    virtual bool put(const WChar* text, int n) = 0;

protected:
    ~CExpansionSink() = default;
};

// The two characters a block puts between its rows.
extern const WChar CEditLineBreak[2];

// Copies into a buffer up to a limit, then stops the walk.
class CExpansionWriter final : public CExpansionSink {
public:
    CExpansionWriter(WChar* buffer, int limit) : m_buffer(buffer), m_limit(limit), pos(0) {}
    bool put(const WChar* text, int n) override
    {
        for (int i = 0; i < n; ++i) {
            if (pos >= m_limit)
                return false;
            m_buffer[pos++] = text[i];
        }
        return true;
    }

private:
    WChar* m_buffer;
    int m_limit;

public:
    int pos;
};

// Copies forward into a buffer at `pos` until the last `n` characters written equal the
// pattern (found) or the buffer has one place left.
class CForwardSearchSink final : public CExpansionSink {
public:
    CForwardSearchSink(WChar* buffer, int limit, int start, const WChar* pattern, int n)
        : m_buffer(buffer), m_limit(limit), m_start(start), m_pattern(pattern), m_n(n),
          pos(start), found(false)
    {
    }
    bool put(const WChar* text, int n) override
    {
        for (int i = 0; i < n; ++i) {
            if (pos >= m_limit)
                return false;
            m_buffer[pos++] = text[i];
            if (pos - m_start >= m_n && VexAPI::detail::equal(m_buffer + pos - m_n, m_pattern, m_n)) {
                found = true;
                return false;
            }
        }
        return true;
    }

private:
    WChar* m_buffer;
    int m_limit;
    int m_start;
    const WChar* m_pattern;
    int m_n;

public:
    int pos;
    bool found;
};

// Copies backward into a buffer below `pos` until the `n` characters at `pos` equal the
// pattern (found) or the buffer's start is reached.
class CBackwardSearchSink final : public CExpansionSink {
public:
    CBackwardSearchSink(WChar* buffer, int start, const WChar* pattern, int n)
        : m_buffer(buffer), m_start(start), m_pattern(pattern), m_n(n), pos(start), found(false)
    {
    }
    bool put(const WChar* text, int n) override
    {
        for (int i = n - 1; i >= 0; --i) {
            if (pos <= 0)
                return false;
            m_buffer[--pos] = text[i];
            if (m_start - pos >= m_n && VexAPI::detail::equal(m_buffer + pos, m_pattern, m_n)) {
                found = true;
                return false;
            }
        }
        return true;
    }

private:
    WChar* m_buffer;
    int m_start;
    const WChar* m_pattern;
    int m_n;

public:
    int pos;
    bool found;
};
