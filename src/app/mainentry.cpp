// PerformMainEntry: the process entry's preparation and the run of the application object.
#include <vexapi/app/mainentry.h>

#include <vexapi/app/application.h>
#include <vexapi/core/wstring.h>

#include <clocale>
#include <string>
#include <vector>

#include "platform_apartment.h"
#include "platform_mainmutex.h"
#include "platform_mainqueue.h"

using VexAPI::platform::MainQueue;
using VexAPI::platform::MainMutex;

void (*EntryHooks::initWindowLayer)() = nullptr;
void (*EntryHooks::setFontSubstitutionFile)(const WChar* path) = nullptr;

int PerformMainEntry(int argc, WChar** argv)
{
    // 1. The window layer: the toolkit's WForm::init, installed by the toolkit once it
    // exists; until then nothing to do.
    if (EntryHooks::initWindowLayer)
        EntryHooks::initWindowLayer();

    // 2. The user's locale for character conversions.
    std::setlocale(LC_CTYPE, "");

    // 3. The font substitutions beside the executable: Font::setSubstitutionFile, installed
    // by the painter layer once it exists; until then nothing to do.
    if (EntryHooks::setFontSubstitutionFile) {
        std::vector<WChar> folder(std::size_t(Application::getExecutablePath(nullptr, 0)) + 1, 0);
        Application::getExecutablePath(folder.data(), int(folder.size()));
        WString fonts(folder.data());
        fonts += Application::pathSep();
        fonts += WSTR("fonts.sub");
        EntryHooks::setFontSubstitutionFile(fonts.c_str());
    }

    // 4. The main mutex and the main thread (with its queue).
    MainMutex::create();
    MainQueue::attach();

    // 5. The main thread is the apartment-threaded COM thread.
    VexAPI::platform::initApartment();

    // 6. The application's three stages.
    if (Application* app = Application::getApp()) {
        if (app->initApplication(argc, argv)) {
            app->messagePump();
            app->deInitApplication();
        }
    }

    // 7. The process ends with 0 whatever quitApplication was given.
    VexAPI::platform::endApartment();
    MainQueue::detach();
    MainMutex::close();
    return 0;
}
