// Printing and enhanced metafiles for the painter's seam: printer contexts from the print
// dialog, the job calls with an abort procedure, and metafiles recorded in memory.
#include <vexapi/toolkit/platform_paint.h>

#include "paint_win32.h"

#include <commdlg.h>

#include <cstring>
#include <map>

namespace VexAPI {
namespace platform {

namespace {

HDC dcOf(Surface* s) { return s ? static_cast<GdiSurface*>(s)->dc() : nullptr; }

// The abort flag of each context with a job; printing runs on the main thread only.
std::map<HDC, const bool*>& abortFlags()
{
    static std::map<HDC, const bool*> flags;
    return flags;
}

BOOL CALLBACK abortProcedure(HDC dc, int)
{
    // Lets the application's windows live while the spooler works.
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    auto it = abortFlags().find(dc);
    return it == abortFlags().end() || !*it->second;
}

} // namespace

Surface* openPrinter(void* owner, bool useDefault, PrintSettings& settings)
{
    // The printer's settings block, asking for the orientation. Its size is that of the
    // platform's structure (at least the classic 0xD4 bytes).
    const SIZE_T devModeSize = sizeof(DEVMODEW) > 0xD4 ? sizeof(DEVMODEW) : 0xD4;
    HGLOBAL devModeBlock = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, devModeSize);
    if (!devModeBlock)
        return nullptr;
    DEVMODEW* dm = static_cast<DEVMODEW*>(GlobalLock(devModeBlock));
    dm->dmSize = WORD(sizeof(DEVMODEW));
    dm->dmFields = DM_ORIENTATION;
    dm->dmOrientation = settings.orientation == 0 ? DMORIENT_PORTRAIT : DMORIENT_LANDSCAPE;
    GlobalUnlock(devModeBlock);

    PRINTDLGW pd;
    std::memset(&pd, 0, sizeof pd);
    pd.lStructSize = sizeof pd;
    pd.hwndOwner = static_cast<HWND>(owner);
    pd.hDevMode = devModeBlock;
    pd.Flags = PD_RETURNDC | PD_NOSELECTION | (useDefault ? PD_RETURNDEFAULT : 0);
    pd.nFromPage = WORD(settings.fromPage);
    pd.nToPage = WORD(settings.toPage);
    pd.nMinPage = WORD(settings.minPage);
    pd.nMaxPage = WORD(settings.maxPage);
    pd.nCopies = WORD(settings.numCopies);
    if (useDefault) {
        // With PD_RETURNDEFAULT the dialog wants no settings blocks of its own.
        pd.hDevMode = nullptr;
    }
    BOOL ok = PrintDlgW(&pd);
    if (ok && pd.hDC && useDefault && pd.hDevMode) {
        // The default printer's own settings, turned to the orientation asked for.
        DEVMODEW* chosen = static_cast<DEVMODEW*>(GlobalLock(pd.hDevMode));
        if (chosen) {
            chosen->dmFields |= DM_ORIENTATION;
            chosen->dmOrientation =
                settings.orientation == 0 ? DMORIENT_PORTRAIT : DMORIENT_LANDSCAPE;
            ResetDCW(pd.hDC, chosen);
            GlobalUnlock(pd.hDevMode);
        }
    }
    // The dialog may have replaced the block it was given: free what it hands back, and
    // ours when it never took it.
    if (pd.hDevMode)
        GlobalFree(pd.hDevMode);
    if (useDefault || !pd.hDevMode)
        GlobalFree(devModeBlock);
    if (pd.hDevNames)
        GlobalFree(pd.hDevNames);
    if (!ok || !pd.hDC)
        return nullptr;
    settings.fromPage = pd.nFromPage;
    settings.toPage = pd.nToPage;
    settings.numCopies = pd.nCopies;
    return new GdiSurface(pd.hDC, GdiSurface::Printer, nullptr);
}

void closePrinter(Surface* printer)
{
    if (!printer)
        return;
    DeleteDC(dcOf(printer));
    delete printer;
}

int startDocument(Surface* printer, const WChar* title, const bool* aborted)
{
    HDC dc = dcOf(printer);
    abortFlags()[dc] = aborted;
    SetAbortProc(dc, abortProcedure);
    DOCINFOW info;
    std::memset(&info, 0, sizeof info);
    info.cbSize = sizeof info;
    info.lpszDocName = title;
    return StartDocW(dc, &info);
}

int startPage(Surface* printer) { return StartPage(dcOf(printer)); }
int endPage(Surface* printer) { return EndPage(dcOf(printer)); }
int endDocument(Surface* printer) { return EndDoc(dcOf(printer)); }
int abortDocument(Surface* printer) { return AbortDoc(dcOf(printer)); }

void removeAbortProcedure(Surface* printer)
{
    HDC dc = dcOf(printer);
    SetAbortProc(dc, nullptr);
    abortFlags().erase(dc);
}

Surface* openMetafileSurface(Surface* reference)
{
    HDC dc = CreateEnhMetaFileW(dcOf(reference), nullptr, nullptr, nullptr);
    return dc ? new GdiSurface(dc, GdiSurface::Memory, nullptr) : nullptr;
}

GraphicHandle closeMetafileSurface(Surface* surface)
{
    if (!surface)
        return nullptr;
    HENHMETAFILE mf = CloseEnhMetaFile(dcOf(surface));
    delete surface;
    return mf;
}

Rect metafileBounds(GraphicHandle metafile)
{
    ENHMETAHEADER header;
    if (!metafile ||
        !GetEnhMetaFileHeader(static_cast<HENHMETAFILE>(metafile), sizeof header, &header))
        return Rect();
    // Inclusive bounds: the last pixel counts.
    return Rect(header.rclBounds.left, header.rclBounds.top, header.rclBounds.right + 1,
                header.rclBounds.bottom + 1);
}

void playMetafile(Surface* surface, GraphicHandle metafile, const Rect& rect)
{
    RECT r{rect.left, rect.top, rect.right, rect.bottom};
    PlayEnhMetaFile(dcOf(surface), static_cast<HENHMETAFILE>(metafile), &r);
}

void deleteMetafile(GraphicHandle metafile)
{
    if (metafile)
        DeleteEnhMetaFile(static_cast<HENHMETAFILE>(metafile));
}

} // namespace platform
} // namespace VexAPI
