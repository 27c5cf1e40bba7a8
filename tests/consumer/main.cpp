// Uses the installed library: a signal with a subscriber and a veto. Exit code 0 on success.
#include <vexapi/core/object.h>

#include <cstdio>

class Door : public virtual Object {
public:
    virtual bool onOpen(int force) { opened = true; return true; }
    bool opened = false;
};

class Guard : public virtual Object {
public:
    SlotResult onDoorOpen(Object*, int force) { return force > 5 ? SlotStopFalse : SlotContinue; }
};

int main()
{
    Door door;
    Guard guard;
    subscribe(&door, &Door::onOpen, &guard, &Guard::onDoorOpen);
    const bool gentle = send(&door, &Door::onOpen, 1);
    const bool opened = door.opened;
    door.opened = false;
    const bool forced = send(&door, &Door::onOpen, 9);
    const bool ok = gentle && opened && !forced && !door.opened;
    std::printf("consumer: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
