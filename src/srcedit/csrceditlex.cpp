// CSrcEditLex: the lexeme table, its hashing and scanning, and word motion.
#include <vexapi/srcedit/csrceditlex.h>

#include <vexapi/core/wtext.h>

#include <cstring>
#include <new>
#include <utility>

namespace {

// _wcsnicmp over at most n characters; n below 0 compares to the end.
int compareNoCase(const WChar* a, const WChar* b, int n)
{
    for (int i = 0; n < 0 || i < n; ++i) {
        WChar ca = wtolower(a[i]);
        WChar cb = wtolower(b[i]);
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            return 0;
    }
    return 0;
}

bool isBreakKind(int type)
{
    return type == TLT_STRING1 || type == TLT_STRING2 || type == TLT_LINE_COMMENT || type == TLT_COMMENT_OPEN ||
           type == TLT_COMMENT_CLOSE || type == TLT_OPERATOR || type == TLT_SEPARATOR;
}

} // namespace

CSrcEditLex::CSrcEditLex()
    : m_lexReady(false), m_lexLoaded(false), caseSensitive(false), hlOpen(nullptr), hlClose(nullptr),
      blocksDirty(false), m_showBlockTips(false), m_lexingExpansion(false)
{
    for (int& b : m_bucket)
        b = -1;
    // The top block belongs to the document; the control names itself its editor later.
    document.setActual(true);
}

CSrcEditLex::~CSrcEditLex()
{
    hlOpen = hlClose = nullptr;
    tags.RemoveAll();
}

bool CSrcEditLex::setPlainText(const WChar* text, int n)
{
    CEditStringArray* block = CEditStringArray::fromPlainText(text, n);
    if (!block)
        return false;
    clearHighlight();
    tags.RemoveAll();
    document.DelAllString();
    bool ok = document.InsertBlock(block, 0);
    if (ok)
        block->DeleteBlock(0, block->GetRowCount(), false);
    delete block;
    send(this, &CSrcEditLex::doParse, -1, -1);
    return ok;
}

// ---- The table.

bool CSrcEditLex::setTextLex(const tagCTextLex* table, int count)
{
    m_lexLoaded = false;
    m_lexReady = false;
    tags.RemoveAll();
    clearHighlight();
    if (!table || count <= 0)
        return false;

    std::vector<tagCTextLex> copy;
    std::vector<tagCTextLex> source;
    try {
        copy.assign(table, table + count);
        source = copy;
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (tagCTextLex& lex : copy) {
        lex.text[255] = 0; // a record that forgot its terminator ends inside itself
        if (!caseSensitive)
            for (WChar* c = lex.text; *c; ++c)
                *c = CaseConversion(*c);
        if (lex.len != -1)
            lex.len = wstrlen(lex.text);
    }
    // Selection sort, so that a lexeme sharing a prefix with a shorter one follows it:
    // the scanner reaches the longer one by moving on with what it matched so far.
    for (std::size_t place = 0; place + 1 < copy.size(); ++place) {
        std::size_t min = place;
        for (std::size_t j = place + 1; j < copy.size(); ++j)
            if (compareNoCase(copy[min].text, copy[j].text, copy[min].len) > 0)
                min = j;
        if (min != place)
            std::swap(copy[min], copy[place]);
    }

    m_source.swap(source);
    m_table.swap(copy);
    m_bucketData.clear();
    for (int& b : m_bucket)
        b = -1;
    // Each bucket holds every lexeme of its hash, in sorted order. (Lexemes whose first
    // characters share a low byte, or differ only in case in a case-sensitive table, can
    // lie apart in the sorted order; they still go to one bucket.)
    std::vector<bool> done(m_table.size(), false);
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        if (done[i] || m_table[i].text[0] == 0)
            continue;
        int h = MakeHash(m_table[i].text);
        m_bucket[h] = int(m_bucketData.size());
        for (std::size_t j = i; j < m_table.size(); ++j) {
            if (!done[j] && m_table[j].text[0] != 0 && MakeHash(m_table[j].text) == h) {
                m_bucketData.push_back(&m_table[j]);
                done[j] = true;
            }
        }
        m_bucketData.push_back(nullptr);
    }
    if (!caseSensitive)
        for (int c = 'A'; c <= 'Z'; ++c)
            m_bucket[c] = m_bucket[c + 32];

    m_lexLoaded = true;
    m_lexReady = true;
    send(this, &CSrcEditLex::doParse, -1, -1);
    return true;
}

void CSrcEditLex::setCaseSensitive(bool on)
{
    if (on == caseSensitive)
        return;
    caseSensitive = on;
    if (m_lexLoaded) {
        std::vector<tagCTextLex> source = m_source; // setTextLex replaces m_source
        setTextLex(source.data(), int(source.size()));
    }
}

int CSrcEditLex::MakeHash(const WChar* text) const
{
    int h = int(text[0]) & 0xff;
    if (!caseSensitive && h >= 'A' && h <= 'Z')
        h += 32;
    return h;
}

const WChar* CSrcEditLex::GetLexType(const WChar* text, int n, int& type, int& lexLen, int& matched) const
{
    if (!text || !m_lexLoaded)
        return nullptr;
    const WChar* end = text + n;
    for (const WChar* p = text; p < end; ++p) {
        // The slots of 'A'..'Z' repeat those of 'a'..'z' when the table is not case
        // sensitive, so the low byte indexes the table as MakeHash would.
        int b = m_bucket[int(*p) & 0xff];
        if (b < 0)
            continue;
        const tagCTextLex* const* cand = &m_bucketData[std::size_t(b)];
        int left = int(end - p);
        int i = 0, j = 0;
        const tagCTextLex* best = nullptr;
        while (*cand && i < left) {
            const tagCTextLex* c = *cand;
            if (c->len != -1 && j > c->len - 1) {
                ++cand;
                continue;
            }
            if (CaseConversion(p[i]) == c->text[j]) {
                ++i;
                if (c->len != -1)
                    ++j;
                best = c;
            } else {
                ++cand;
            }
        }
        if (best && (best->len == -1 || j == best->len)) {
            type = best->type;
            lexLen = best->len;
            matched = i;
            return p;
        }
    }
    return nullptr;
}

int CSrcEditLex::GetNextLexPos(const WChar* text, int n, int pos, bool backward) const
{
    if (!m_lexLoaded || !text)
        return pos;
    if (n == -1)
        n = wstrlen(text);
    if (n < 1 || (!backward && pos >= n) || (backward && pos < 1))
        return pos;

    int result = 0;
    int lastLen = 0;
    int lastEnd = -1; // end of the previous breaking lexeme
    const WChar* p = text;
    int type = 0, lexLen = 0, matched = 0;
    while (const WChar* found = GetLexType(p, int(text + n - p), type, lexLen, matched)) {
        int start = int(found - text);
        int end = start + matched;
        p = found + (matched > 0 ? matched : 1);
        if (!isBreakKind(type))
            continue;
        if (backward) {
            if (end > pos)
                return result;
            if (end < pos) {
                result = end;
                lastLen = matched;
            } else if (lexLen != -1) {
                result = start;
                lastLen = matched;
            } else if (result > 0 && result == start) {
                result -= lastLen;
            }
        } else {
            if (result) {
                if (lastEnd != start || lexLen != -1)
                    return result;
                result = 0;
            }
            if (lexLen == -1 && start >= pos)
                return end;
            if (start < pos) {
                lastEnd = end;
                lastLen = matched;
                continue;
            }
            if (lastEnd == start || start == pos) {
                result = end;
            } else {
                result = start;
            }
            lastLen = matched;
        }
        lastEnd = end;
    }
    if (backward)
        return result < pos ? result : 0;
    return result <= pos ? n : result;
}

bool CSrcEditLex::GetLexPos(int col, int row, WChar* buffer, int& start, int& len)
{
    CEditString* r = GetString(row);
    if (!r || col < 0 || col > r->GetLength())
        return false;
    const WChar* text = r->GetData();
    int n = r->GetLength();
    int a = GetNextLexPos(text, n, col, true);
    int b = GetNextLexPos(text, n, col - 1 > 0 ? col - 1 : 0, false);
    if (a == 0 && b == 0)
        return false;
    if (b > n)
        b = n;
    while (b > a && (text[b - 1] == ' ' || text[b - 1] == '\t' || text[b - 1] == '\n' || text[b - 1] == '\r'))
        --b;
    if (b <= a)
        return false;
    int found = b - a;
    if (buffer) {
        int copy = found < len ? found : len;
        if (copy < 0)
            copy = 0;
        std::memcpy(buffer, text + a, sizeof(WChar) * std::size_t(copy));
        if (copy < len)
            buffer[copy] = 0;
    }
    start = a;
    len = found;
    return true;
}
