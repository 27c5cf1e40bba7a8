// PrinterDev: a print job on a printer, page by page.
#pragma once

#include <vexapi/toolkit/paintdevice.h>

// begin opens the job (taking the default printer, without a dialog, when no printer was
// chosen), newPage opens each page (the first one too), end closes the job, abort cancels
// it. States (useCount, aborted):
//   closed    -- begin: context and document started --> open (pageNumber 0)
//   open      -- newPage --> open, pageNumber + 1, a page open
//   open      -- abort: AbortDoc --> aborted (newPage and abort give false)
//   open      -- end: EndPage if a page is open, EndDoc --> closed
//   aborted   -- end: the job is not touched --> closed
// The printer's context outlives the job; showSetupDialog replaces it while no job is open.
// Invariants (checkInvariants, beside the device's): 3. pageNumber >= 0; 4. no page is open
// while closed.
class VEXAPI_API PrinterDev : public PaintDevice {
public:
    PrinterDev() = default;
    ~PrinterDev() override;

    bool begin(PaintDevice* compatibleWith = nullptr) override;
    void end() override;
    bool newPage();
    bool abort();
    // Chooses the printer: with useDefault the default one, without a dialog. Only while
    // no job is open. Gives whether a printer context was made.
    bool showSetupDialog(void* ownerWindow, bool useDefault);

    bool hasPrinter() const { return m_printer != nullptr; }
    bool isAborted() const { return m_aborted; }
    int pageNumber() const { return m_pageNumber; }
    int orientation() const { return m_orientation; }
    void setOrientation(int orientation) { m_orientation = orientation; }
    int minPage() const { return m_minPage; }
    int maxPage() const { return m_maxPage; }
    int fromPage() const { return m_fromPage; }
    int toPage() const { return m_toPage; }
    int numCopies() const { return m_numCopies; }
    void setPageRange(int minPage, int maxPage, int fromPage, int toPage)
    {
        m_minPage = minPage;
        m_maxPage = maxPage;
        m_fromPage = fromPage;
        m_toPage = toPage;
    }
    void setNumCopies(int copies) { m_numCopies = copies; }

    int checkInvariants() const;

private:
    VexAPI::platform::Surface* m_printer = nullptr;
    int m_orientation = 0;
    bool m_aborted = false;
    bool m_pageOpen = false;
    int m_minPage = 1;
    int m_maxPage = 1;
    int m_fromPage = 1;
    int m_toPage = 1;
    int m_numCopies = 1;
    int m_pageNumber = 0;
};
