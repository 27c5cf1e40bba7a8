// A console tour of the object model: a sender, subscribers with priorities, a veto, and a
// subscriber that drops its pointer when the sender dies.
#include <vexapi/core/object.h>

#include <cstdio>

// A document that can be saved; saving is a signal, so others may watch or forbid it.
class Document : public virtual Object {
public:
    explicit Document(const char* name) : m_name(name) {}
    virtual bool onSave(int version)
    {
        std::printf("  document: saved \"%s\" as version %d\n", m_name, version);
        return true;
    }
    const char* name() const { return m_name; }

private:
    const char* m_name;
};

// Writes every save to the console; runs ahead of everyone (priority 0).
class Journal : public virtual Object {
public:
    SlotResult onSave(Object*, int version)
    {
        std::printf("  journal (priority 0): a save of version %d was asked for\n", version);
        return SlotContinue;
    }
};

// Forbids saving while the document is locked.
class LockGuard : public virtual Object {
public:
    bool locked = false;
    SlotResult onSave(Object*, int version)
    {
        std::printf("  lock guard (priority 1000): %s\n", locked ? "locked, save refused" : "free");
        return locked ? SlotStopFalse : SlotContinue;
    }
};

// Keeps a pointer to the document and drops it when the document dies.
class Window : public virtual Object {
public:
    Document* doc = nullptr;
    void show(Document* d)
    {
        doc = d;
        subscribe(static_cast<Object*>(d), &Object::onDtor, this, &Window::onDocDtor);
    }
    SlotResult onDocDtor(Object*)
    {
        std::printf("  window: the document is going away, dropping the pointer\n");
        doc = nullptr;
        return SlotContinue;
    }
};

int main()
{
    Journal journal;
    LockGuard guard;
    Window window;
    {
        Document doc("orders.sql");
        subscribe(&doc, &Document::onSave, &guard, &LockGuard::onSave);
        subscribe(&doc, &Document::onSave, &journal, &Journal::onSave, 0);
        window.show(&doc);

        std::printf("save, unlocked:\n");
        bool saved = send(&doc, &Document::onSave, 1);
        std::printf("  -> %s\n", saved ? "true" : "false");

        std::printf("save, locked:\n");
        guard.locked = true;
        saved = send(&doc, &Document::onSave, 2);
        std::printf("  -> %s\n", saved ? "true" : "false");

        std::printf("the document leaves its scope:\n");
    }
    std::printf("window holds %s\n", window.doc ? "a dangling pointer" : "no document");
    return window.doc ? 1 : 0;
}
