// PerformMainEntry, the library's process entry behind WinMain and main, and the entry
// steps that higher layers plug in.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

// Prepares the process and runs the application object: the window layer, the locale, the
// font substitution file beside the executable, the main mutex and main thread, COM; then
// initApplication, and when it succeeds messagePump and deInitApplication. Gives 0 always:
// the code given to quitApplication is kept for getExitCode() only.
//
// Programs do not call it: they link the static library vexapi_main, whose WinMain (on
// Windows) or main (on Linux) builds the argument list and calls it.
VEXAPI_API int PerformMainEntry(int argc, WChar** argv);

// The entry steps that belong to layers above the frame. A layer installs its function
// during static initialisation; a hook left null is skipped.
struct VEXAPI_API EntryHooks {
    // Registers the window class and reads the mouse settings (the toolkit's WForm::init).
    static void (*initWindowLayer)();
    // Receives the path of "fonts.sub" beside the executable (Font::setSubstitutionFile).
    static void (*setFontSubstitutionFile)(const WChar* path);
};
