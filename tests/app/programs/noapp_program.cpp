// A program that links the entry but defines no Application object: it must end at once
// with 0, before any entry step runs.
#include <vexapi/app/mainentry.h>

#include <cstdio>

namespace {

void onWindowLayer()
{
    std::printf("window layer\n");
    std::fflush(stdout);
}

const bool s_hooksInstalled = (EntryHooks::initWindowLayer = &onWindowLayer, true);

} // namespace
