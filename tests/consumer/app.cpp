// An application whose entry comes from vexapi_main: its static application object is found,
// initialised and run, and quitApplication ends the main loop.
#include <vexapi/app/application.h>

#include <cstdio>

class ConsumerApp : public Application {
public:
    bool initApplication(int argc, WChar** argv) override
    {
        quitApplication(7); // ends the main loop at once
        return true;
    }
    void deInitApplication() override
    {
        std::printf("consumer_app: %s\n", getExitCode() == 7 ? "ok" : "FAILED");
        std::fflush(stdout);
    }
};

static ConsumerApp theApp;
