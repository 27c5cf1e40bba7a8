// The process entry of a Linux program built on the library: main, from the static library
// vexapi_main that the program links beside libvexapi.
#include <vexapi/app/application.h>
#include <vexapi/app/commandargs.h>
#include <vexapi/app/mainentry.h>
#include <vexapi/core/charset.h>
#include <vexapi/core/wstring.h>

#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (!Application::getApp())
        return 0;
    // Linux hands over the argument list itself, so there is no line to split; the
    // arguments arrive as bytes, in UTF-8 in practice.
    std::vector<WString> wide;
    for (int i = 0; i < argc; ++i)
        wide.push_back(wideFromUtf8(argv[i]));
    std::vector<const WChar*> table;
    for (const auto& arg : wide)
        table.push_back(arg.c_str());
    CommandArgs args(int(table.size()), table.data());
    return PerformMainEntry(args.argc(), args.argv());
}
