// The process entry of a Windows program built on the library: WinMain, from the static
// library vexapi_main that the program links beside vexapi.dll.
#include <vexapi/app/application.h>
#include <vexapi/app/commandargs.h>
#include <vexapi/app/mainentry.h>

#include <windows.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int)
{
    if (!Application::getApp())
        return 0;
    CommandArgs args(GetCommandLineW(), 0);
    return PerformMainEntry(args.argc(), args.argv());
}
