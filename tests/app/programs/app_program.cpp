// A program built like an application of the library: a static Application object and the
// entry from vexapi_main. The frame's suite runs it with a scenario name as first argument
// and reads what it writes to stdout, one event a line.
#include <vexapi/app/application.h>
#include <vexapi/app/mainentry.h>
#include <vexapi/app/onelevelguiwaiter.h>
#include <vexapi/core/wstring.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {


void say(const char* line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

// 16-bit text as hexadecimal code units, so that any text survives the trip through stdout.
std::string hex(const WChar* s)
{
    std::string out;
    char unit[8];
    for (; s && *s; ++s) {
        std::snprintf(unit, sizeof unit, "%04x", unsigned(*s));
        out += unit;
    }
    return out;
}

std::string ascii(const WChar* s)
{
    std::string out;
    for (; s && *s; ++s)
        out += char(*s < 0x80 ? *s : '?');
    return out;
}

void onWindowLayer()
{
    say("window layer");
}

void onFontFile(const WChar* path)
{
    WChar folder[4096];
    Application::getExecutablePath(folder, 4096);
    WString expected = WString(folder) + Application::pathSep() + WSTR("fonts.sub");
    say(expected == path ? "fonts beside program" : "fonts elsewhere");
}

// The entry steps of the higher layers, seen as they run.
const bool s_hooksInstalled = (EntryHooks::initWindowLayer = &onWindowLayer,
                               EntryHooks::setFontSubstitutionFile = &onFontFile, true);

class TestApp : public Application {
public:
    ~TestApp() override { say("dtor"); }

    bool initApplication(int argc, WChar** argv) override
    {
        say("init");
        m_scenario = argc > 1 ? ascii(argv[1]) : std::string();
        if (m_scenario == "init-false")
            return false;
        if (m_scenario == "quit") {
            quitApplication(5);
            return true;
        }
        if (m_scenario == "args") {
            say(("arg0 " + hex(argv[0])).c_str());
            for (int i = 2; i < argc; ++i)
                say(("arg " + hex(argv[i])).c_str());
            quitApplication(0);
            return true;
        }
        if (m_scenario == "loops") {
            runLoops();
            quitApplication(0);
            return true;
        }
        if (m_scenario == "tmpfile") {
            WChar* name = getTemporaryFile();
            if (name && addTmpFileName(name))
                say(("tmpfile " + hex(name)).c_str());
            quitApplication(0);
            return true;
        }
        say("unknown scenario");
        return false;
    }

    void messagePump() override
    {
        say("pump");
        Application::messagePump();
        std::printf("pump end, exit code %d\n", getExitCode());
        std::fflush(stdout);
    }

    void deInitApplication() override { say("deinit"); }

private:
    // The loop controls through the real entry: a worker ends each wait. Each worker is
    // started by a call that the loop itself dispatches, so it runs while the loop runs.
    bool onPost(void* pointer) override
    {
        m_worker = std::thread(reinterpret_cast<void (*)()>(pointer));
        return true;
    }

    static void exitLoop() { Application::exit_loop(); }
    static void leaveWait() { OneLevelGUIWaiter::Leave(); }

    void runLoops()
    {
        post(reinterpret_cast<void*>(&exitLoop));
        enter_loop();
        m_worker.join();
        say("enter_loop left");

        OneLevelGUIWaiter::Init();
        post(reinterpret_cast<void*>(&leaveWait));
        int result = OneLevelGUIWaiter::Wait();
        m_worker.join();
        std::printf("wait %d\n", result);
        std::fflush(stdout);
    }

    std::string m_scenario;
    std::thread m_worker;
};

TestApp s_app;

} // namespace
