// RecordingDev: a paint device that draws nothing and records every call a Painter makes
// on it, with the drawing state of that moment, so that painting code can be checked
// without a screen.
#pragma once

#include <vexapi/core/wcharstring.h>
#include <vexapi/toolkit/paintdevice.h>

#include <memory>
#include <string>
#include <vector>

// The drawing state a surface holds when a call is made.
struct VEXAPI_API PaintState {
    VULong penColor = 0;
    int penStyle = 0;
    int penWidth = 1;
    bool penReleased = false; // the painter let go of its pen (after end)
    bool brushNull = false; // no brush: outlines are not filled
    VULong brushColor = 0xFFFFFF;
    int brushKind = 0;
    int brushHatch = 0;
    WCharString fontName;
    int fontSize = 0;
    bool fontBold = false;
    VULong textColor = 0;
    VULong backColor = 0xFFFFFF;
    int drawMode = 13;      // the platform's binary raster code
    int backgroundMode = 2; // 1 transparent, 2 opaque
    Point origin;           // the viewport origin
    Rect clip;              // the clip's bounding box, in device coordinates
    bool clipped = false;
};

// One call: its name, its integer arguments in order, its text, and the state.
struct VEXAPI_API PaintRecord {
    std::string op;
    std::vector<int> args;
    WCharString text;
    PaintState state;
};

// Recorded calls: the state calls ("selectPen", "selectBrush", "selectNullBrush",
// "selectFont", "setTextColor", "setBackColor", "setDrawMode", "setBackgroundMode",
// "setBrushOrigin", "setViewportOrigin", "selectClip") and the primitives ("setPixel",
// "moveTo", "lineTo", "polyline", "polygon", "ellipse", "rectangle", "roundRect", "fillRect",
// "focusRect", "edge", "drawText", "fillRegion", "bitBlt", "stretchBlt", "setStretchMode",
// "patBlt", "scroll"); their arguments are those of the platform's call (coordinates
// logical, colours as rgb values, flags and codes as the platform's). Text is measured with
// a fixed cell: each character is half the font size wide and the size high.
class VEXAPI_API RecordingDev : public PaintDevice {
public:
    explicit RecordingDev(int width = 640, int height = 480);
    ~RecordingDev() override;

    bool begin(PaintDevice* compatibleWith = nullptr) override;
    void end() override;

    const std::vector<PaintRecord>& records() const;
    // The records named `op`, in order.
    std::vector<PaintRecord> recordsOf(const std::string& op) const;
    void clearRecords();
    // How many times the device was opened (by a first begin).
    int openCount() const { return m_opens; }

private:
    class Recorder;
    std::unique_ptr<Recorder> m_recorder;
    int m_opens = 0;
};
