// PrinterDev: the print job's states over the platform's printing calls.
#include <vexapi/toolkit/printerdev.h>

#include "platform_paint.h"

namespace platform = VexAPI::platform;

PrinterDev::~PrinterDev()
{
    while (m_useCount > 0)
        end();
    platform::closePrinter(m_printer);
}

bool PrinterDev::showSetupDialog(void* ownerWindow, bool useDefault)
{
    if (m_useCount > 0 && m_printer)
        return false;
    platform::closePrinter(m_printer);
    m_printer = nullptr;
    platform::PrintSettings settings;
    settings.orientation = m_orientation;
    settings.minPage = m_minPage;
    settings.maxPage = m_maxPage;
    settings.fromPage = m_fromPage;
    settings.toPage = m_toPage;
    settings.numCopies = m_numCopies;
    m_printer = platform::openPrinter(ownerWindow, useDefault, settings);
    if (!m_printer)
        return false;
    m_fromPage = settings.fromPage;
    m_toPage = settings.toPage;
    m_numCopies = settings.numCopies;
    return true;
}

bool PrinterDev::begin(PaintDevice*)
{
    if (m_useCount > 0) {
        ++m_useCount;
        return true;
    }
    if (!m_printer)
        showSetupDialog(nullptr, true);
    if (!m_printer)
        return false;
    m_aborted = false;
    m_pageOpen = false;
    m_pageNumber = 0;
    if (platform::startDocument(m_printer, WSTR("VEXAPI print job"), &m_aborted) <= 0) {
        platform::removeAbortProcedure(m_printer);
        return false;
    }
    m_useCount = 1;
    m_surface = m_printer;
    takeClipBox();
    return true;
}

bool PrinterDev::newPage()
{
    if (m_useCount <= 0 || m_aborted)
        return false;
    if (m_pageOpen)
        platform::endPage(m_printer);
    ++m_pageNumber;
    m_pageOpen = platform::startPage(m_printer) > 0;
    return m_pageOpen;
}

void PrinterDev::end()
{
    if (m_useCount <= 0 || --m_useCount > 0)
        return;
    if (!m_aborted) {
        if (m_pageOpen)
            platform::endPage(m_printer);
        platform::endDocument(m_printer);
    }
    m_pageOpen = false;
    platform::removeAbortProcedure(m_printer);
    m_surface = nullptr;
}

bool PrinterDev::abort()
{
    if (m_useCount <= 0 || m_aborted)
        return false;
    if (platform::abortDocument(m_printer) > 0) {
        m_aborted = true;
        m_pageOpen = false;
    }
    return m_aborted;
}

int PrinterDev::checkInvariants() const
{
    if (int broken = PaintDevice::checkInvariants())
        return broken;
    if (m_pageNumber < 0)
        return 3;
    if (m_useCount == 0 && m_pageOpen)
        return 4;
    return 0;
}
