// The process entry of a Linux program built on the library: main, from the static library
// vexapi_main that the program links beside libvexapi.
#include <vexapi/app/application.h>
#include <vexapi/app/commandargs.h>
#include <vexapi/app/mainentry.h>

#include <string>
#include <vector>

namespace {

// The arguments arrive as bytes; Linux gives them in UTF-8 in practice. A byte that does
// not start a valid sequence becomes U+FFFD.
std::basic_string<WChar> fromUtf8(const char* s)
{
    std::basic_string<WChar> out;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(s);
    while (p && *p) {
        unsigned long c = *p;
        int more = c < 0x80 ? 0 : (c >> 5) == 0x6 ? 1 : (c >> 4) == 0xE ? 2 : (c >> 3) == 0x1E ? 3 : -1;
        if (more < 0) {
            out += WChar(0xFFFD);
            ++p;
            continue;
        }
        c &= more == 0 ? 0x7F : (0x3F >> more);
        int i = 1;
        for (; i <= more; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                break;
            c = (c << 6) | (p[i] & 0x3F);
        }
        if (i <= more || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            out += WChar(0xFFFD);
            ++p;
            continue;
        }
        p += more + 1;
        if (c >= 0x10000) {
            c -= 0x10000;
            out += WChar(0xD800 + (c >> 10));
            out += WChar(0xDC00 + (c & 0x3FF));
        } else {
            out += WChar(c);
        }
    }
    return out;
}

} // namespace

int main(int argc, char** argv)
{
    if (!Application::getApp())
        return 0;
    // Linux hands over the argument list itself, so there is no line to split.
    std::vector<std::basic_string<WChar>> wide;
    for (int i = 0; i < argc; ++i)
        wide.push_back(fromUtf8(argv[i]));
    std::vector<const WChar*> table;
    for (const auto& arg : wide)
        table.push_back(arg.c_str());
    CommandArgs args(int(table.size()), table.data());
    return PerformMainEntry(args.argc(), args.argv());
}
