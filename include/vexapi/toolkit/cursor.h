// Cursor: a mouse pointer shape a visual object shows over its client area.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/object.h>

// A cursor is a system shape (Type) or one loaded from the program's resources by number.
// The native handle is the platform layer's business: it is made on first use, and shared
// shapes are never destroyed. Copies share the shape.
class VEXAPI_API Cursor : public Object {
public:
    enum Type {
        Arrow = 0, IBeam, Wait, Cross, UpArrow, SizeNWSE, SizeNESW, SizeWE, SizeNS, SizeAll,
        No, Hand, AppStarting, Help
    };

    explicit Cursor(Type type = Arrow) : m_type(type) {}
    // A cursor resource of the module, by number.
    static Cursor fromResource(int resourceId);
    Cursor(const Cursor& other) : Object(), m_type(other.m_type), m_resource(other.m_resource) {}
    Cursor& operator=(const Cursor& other)
    {
        m_type = other.m_type;
        m_resource = other.m_resource;
        m_handle = nullptr;
        return *this;
    }

    Type type() const { return m_type; }
    int resourceId() const { return m_resource; }
    // The native cursor (HCURSOR on Windows), loaded on first use; null where there is none.
    void* handle() const;

private:
    Type m_type;
    int m_resource = 0;
    mutable void* m_handle = nullptr;
};
