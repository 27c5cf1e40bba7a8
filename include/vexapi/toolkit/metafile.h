// Metafile: a recording of drawing calls, played back into a rectangle.
#pragma once

#include <vexapi/toolkit/paintdevice.h>

// begin deletes a former recording and records anew, for the format of the device given
// (the screen for null); end keeps the recording and its size. Recording nests like any
// device. Drawing it: Painter::drawMetafile.
class VEXAPI_API Metafile : public PaintDevice {
public:
    Metafile() = default;
    ~Metafile() override;

    bool begin(PaintDevice* compatibleWith = nullptr) override;
    void end() override;

    bool isEmpty() const { return m_handle == nullptr; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    void* handle() const { return m_handle; }
    void clear();

private:
    void* m_handle = nullptr;
    int m_width = 0;
    int m_height = 0;
};
