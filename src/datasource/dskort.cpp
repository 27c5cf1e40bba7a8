// DSKortDesc: the declared columns, the record layout, and the records' life and copies.
#include <vexapi/datasource/dskort.h>

#include <vexapi/core/wtext.h>

#include <cstring>
#include <new>

namespace DataSourceAPI {

using DataRepresentationWithNulls::DSValue;

namespace {

const int kPointer = int(sizeof(void*));

int round8(int n)
{
    return (n + 7) & ~7;
}

} // namespace

DSKortDesc::DSKortDesc() : m_cols(0, 50), m_layout(50, 50), m_size(0) {}

DSKortDesc::~DSKortDesc() {}

void DSKortDesc::add(Type type, int len)
{
    m_cols.add(Col{type, len});
}

void DSKortDesc::insert(int pos, Type type, int len)
{
    if (pos < 0)
        pos = 0;
    if (pos > m_cols.size())
        pos = m_cols.size();
    m_cols.insert(pos, Col{type, len});
}

void DSKortDesc::set(int pos, Type type, int len)
{
    if (pos >= 0 && pos < m_cols.size())
        m_cols[pos] = Col{type, len};
}

void DSKortDesc::remove(int pos)
{
    if (pos >= 0 && pos < m_cols.size())
        m_cols.remove(pos);
}

void DSKortDesc::clear()
{
    m_cols.clear();
}

Type DSKortDesc::type(int pos) const
{
    return pos >= 0 && pos < m_cols.size() ? m_cols[pos].type : tNone;
}

int DSKortDesc::len(int pos) const
{
    return pos >= 0 && pos < m_cols.size() ? m_cols[pos].len : -1;
}

void DSKortDesc::init()
{
    m_layout.clear();
    m_size = 0;
    int offset = 0;
    int previous = 0;
    for (int i = 0; i < m_cols.size(); ++i) {
        const Type t = m_cols[i].type;
        const int len = slotSize(t, m_cols[i].len);
        if (i > 0)
            offset += previous + kPointer;
        m_layout.add(ColLayout{t, len, offset});
        previous = round8(len);
        m_size += previous;
    }
    m_size += kPointer * m_cols.size();
    layoutChanged();
}

DSKort* DSKortDesc::newKort() const
{
    void* block = ::operator new(std::size_t(kortBlockSize()));
    try {
        return placeKort(block);
    } catch (...) {
        ::operator delete(block);
        throw;
    }
}

DSKort* DSKortDesc::placeKort(void* block) const
{
    const int n = m_layout.size();
    std::memset(block, 0, std::size_t(kortBlockSize()));
    DSKort* kort = new (block) DSKort(this);
    char* flags = static_cast<char*>(block) + kPointer + m_size;
    for (int i = 0; i < n; ++i) {
        DSValue& v = (*kort)[i];
        v.nullFlag = flags + i;
        if (m_layout[i].type == tBlob)
            v.value().constructBlob();
        else if (m_layout[i].type == tObject)
            v.value().constructObject();
    }
    return kort;
}

void DSKortDesc::deleteKort(DSKort* kort) const
{
    if (!kort)
        return;
    destroyKort(kort);
    ::operator delete(static_cast<void*>(kort));
}

void DSKortDesc::destroyKort(DSKort* kort) const
{
    for (int i = 0; i < m_layout.size(); ++i)
        if (m_layout[i].type == tBlob)
            (*kort)[i].value().destructBlob();
    kort->~DSKort();
}

bool DSKortDesc::isEqual(const DSKort& a, const DSKort& b)
{
    const DSKortDesc* d = a.desc();
    if (d != b.desc())
        return false;
    for (int i = 0; i < d->m_layout.size(); ++i) {
        const DSValue& x = a[i];
        const DSValue& y = b[i];
        if (x.isNull() != y.isNull())
            return false;
        if (x.isNull())
            continue;
        const ColLayout& c = d->m_layout[i];
        switch (c.type) {
        case tChar:
            if (std::strcmp(static_cast<const char*>(x.Bin()), static_cast<const char*>(y.Bin())) != 0)
                return false;
            break;
        case tText:
            if (wstrcmp(static_cast<const WChar*>(x.Bin()), static_cast<const WChar*>(y.Bin())) != 0)
                return false;
            break;
        case tBlob:
            if (x.value().Blob()->data() != y.value().Blob()->data() ||
                x.value().Blob()->size() != y.value().Blob()->size())
                return false;
            break;
        default:
            if (std::memcmp(x.Bin(), y.Bin(), std::size_t(c.len)) != 0)
                return false;
        }
    }
    return true;
}

void DSKortDesc::copy(DSKort& dst, const DSKort& src)
{
    const DSKortDesc* d = dst.desc();
    if (&dst == &src)
        return;
    const int n = d->m_layout.size() < src.desc()->m_layout.size() ? d->m_layout.size()
                                                                     : src.desc()->m_layout.size();
    for (int i = 0; i < n; ++i) {
        DSValue& to = dst[i];
        const DSValue& from = src[i];
        *to.nullFlag = *from.nullFlag;
        const ColLayout& c = d->m_layout[i];
        if (c.type == tBlob) {
            DSBlob* b = to.value().Blob();
            const DSBlob* s = from.value().Blob();
            // The same block on both sides stays as it is, with its owner.
            if (b->data() != s->data())
                b->set(s->data(), s->size());
        } else {
            const int srcLen = src.desc()->m_layout[i].len;
            std::memcpy(to.Bin(), from.Bin(), std::size_t(c.len < srcLen ? c.len : srcLen));
        }
    }
}

bool DSKortDesc::isEqual(int, const DSValue&, const DSValue&) const
{
    return false;
}

void DSKortDesc::copy(int, DSValue&, const DSValue&) const {}

} // namespace DataSourceAPI
