// RecordingDev: a Surface that records each call with the state it holds.
#include <vexapi/toolkit/brush.h>
#include <vexapi/toolkit/font.h>
#include <vexapi/toolkit/pen.h>
#include <vexapi/toolkit/recordingdev.h>

#include "platform_paint.h"

#include <initializer_list>

namespace platform = VexAPI::platform;

class RecordingDev::Recorder : public platform::Surface {
public:
    Recorder(int width, int height) : m_width(width), m_height(height) { resetState(); }

    void resetState()
    {
        m_state = PaintState();
        m_state.clip = Rect(0, 0, m_width, m_height);
        m_deviceClip = m_state.clip;
        m_position = Point();
    }

    std::vector<PaintRecord> records;

    void* nativeContext() const override { return nullptr; }

    void selectPen(const Pen& pen) override
    {
        m_state.penReleased = false;
        m_state.penColor = pen.color().rgb();
        m_state.penStyle = pen.style();
        m_state.penWidth = pen.width();
        add("selectPen", {int(m_state.penColor), m_state.penStyle, m_state.penWidth});
    }
    void releasePen() override
    {
        m_state.penReleased = true;
        add("releasePen", {});
    }
    void selectBrush(const Brush& brush) override
    {
        m_state.brushNull = brush.isNull();
        m_state.brushColor = brush.color().rgb();
        m_state.brushKind = brush.kind();
        m_state.brushHatch = brush.hatchStyle();
        add("selectBrush", {int(m_state.brushColor), m_state.brushKind, m_state.brushHatch});
    }
    void selectNullBrush() override
    {
        m_state.brushNull = true;
        add("selectNullBrush", {});
    }
    void selectFont(const Font& font) override
    {
        m_state.fontName = font.name();
        m_state.fontSize = font.size();
        m_state.fontBold = font.bold();
        PaintRecord& r = add("selectFont", {m_state.fontSize, m_state.fontBold ? 1 : 0});
        r.text = m_state.fontName;
    }
    void setTextColor(VULong rgb) override
    {
        m_state.textColor = rgb;
        add("setTextColor", {int(rgb)});
    }
    void setBackColor(VULong rgb) override
    {
        m_state.backColor = rgb;
        add("setBackColor", {int(rgb)});
    }
    void setDrawMode(int mode) override
    {
        m_state.drawMode = mode;
        add("setDrawMode", {mode});
    }
    void setBackgroundMode(int mode) override
    {
        m_state.backgroundMode = mode;
        add("setBackgroundMode", {mode});
    }
    void setBrushOrigin(int x, int y) override { add("setBrushOrigin", {x, y}); }
    Point viewportOrigin() const override { return m_state.origin; }
    void setViewportOrigin(int x, int y) override
    {
        m_state.origin = Point(x, y);
        updateClip();
        add("setViewportOrigin", {x, y});
    }
    void selectClip(platform::GraphicHandle region) override
    {
        m_state.clipped = region != nullptr;
        m_deviceClip = region ? platform::regionBox(region) : Rect(0, 0, m_width, m_height);
        m_deviceClip.intersect(Rect(0, 0, m_width, m_height));
        updateClip();
        add("selectClip", {m_deviceClip.left, m_deviceClip.top, m_deviceClip.right,
                           m_deviceClip.bottom});
    }
    Rect clipBox() const override { return m_state.clip; }
    int deviceCaps(int index) const override
    {
        switch (index) {
        case 88:
        case 90: return 96;
        case 12: return 24;
        case 14: return 1;
        case 8: return m_width;
        case 10: return m_height;
        default: return 0;
        }
    }

    void setPixel(int x, int y, VULong rgb) override { add("setPixel", {x, y, int(rgb)}); }
    VULong getPixel(int, int) const override { return 0; }
    void moveTo(int x, int y) override
    {
        m_position = Point(x, y);
        add("moveTo", {x, y});
    }
    Point currentPosition() const override { return m_position; }
    void lineTo(int x, int y) override
    {
        add("lineTo", {x, y});
        m_position = Point(x, y);
    }
    void polyline(const Point* points, int count) override { addPoints("polyline", points, count); }
    void polygon(const Point* points, int count) override { addPoints("polygon", points, count); }
    void ellipse(int l, int t, int r, int b) override { add("ellipse", {l, t, r, b}); }
    void rectangle(int l, int t, int r, int b) override { add("rectangle", {l, t, r, b}); }
    void roundRect(int l, int t, int r, int b, int w, int h) override
    {
        add("roundRect", {l, t, r, b, w, h});
    }
    void fillRect(const Rect& r, const Brush& brush) override
    {
        add("fillRect", {r.left, r.top, r.right, r.bottom, int(brush.color().rgb())});
    }
    void focusRect(const Rect& r) override { add("focusRect", {r.left, r.top, r.right, r.bottom}); }
    void edge(const Rect& r, int edge, int flags) override
    {
        add("edge", {r.left, r.top, r.right, r.bottom, edge, flags});
    }
    int drawText(const WChar* text, int length, Rect& r, int flags) override
    {
        PaintRecord& rec = add("drawText", {r.left, r.top, r.right, r.bottom, flags});
        rec.text = WCharString(text, length);
        return cell().height;
    }
    Size textExtent(const WChar*, int length) const override
    {
        Size c = cell();
        return Size(c.width * length, c.height);
    }
    platform::TextMetrics textMetrics() const override
    {
        platform::TextMetrics tm;
        Size c = cell();
        tm.height = c.height;
        tm.ascent = c.height * 4 / 5;
        tm.averageWidth = c.width;
        tm.maxWidth = c.width;
        tm.pitchAndFamily = 0; // fixed pitch
        return tm;
    }
    void fillRegion(platform::GraphicHandle region, const Brush& brush) override
    {
        Rect box = platform::regionBox(region);
        add("fillRegion", {box.left, box.top, box.right, box.bottom, int(brush.color().rgb())});
    }
    void bitBlt(int x, int y, int w, int h, Surface* source, int sx, int sy, VULong rop) override
    {
        add("bitBlt", {x, y, w, h, sx, sy, int(rop), source == this ? 1 : 0});
    }
    void stretchBlt(int x, int y, int w, int h, Surface*, int sx, int sy, int sw, int sh,
                    VULong rop) override
    {
        add("stretchBlt", {x, y, w, h, sx, sy, sw, sh, int(rop)});
    }
    void setStretchMode(int mode) override { add("setStretchMode", {mode}); }
    void patBlt(int x, int y, int w, int h, VULong rop) override
    {
        add("patBlt", {x, y, w, h, int(rop)});
    }
    void scroll(int dx, int dy, const Rect& r, const Rect& clip) override
    {
        add("scroll", {dx, dy, r.left, r.top, r.right, r.bottom, clip.left, clip.top,
                       clip.right, clip.bottom});
    }

private:
    PaintRecord& add(const char* op, std::initializer_list<int> args)
    {
        records.push_back(PaintRecord());
        PaintRecord& r = records.back();
        r.op = op;
        r.args.assign(args.begin(), args.end());
        r.state = m_state;
        return r;
    }
    void addPoints(const char* op, const Point* points, int count)
    {
        PaintRecord& r = add(op, {});
        for (int i = 0; i < count; ++i) {
            r.args.push_back(points[i].x);
            r.args.push_back(points[i].y);
        }
    }
    void updateClip()
    {
        // The clip box is reported in logical coordinates.
        m_state.clip = m_deviceClip;
        m_state.clip.offset(-m_state.origin.x, -m_state.origin.y);
    }
    Size cell() const
    {
        int size = m_state.fontSize > 0 ? m_state.fontSize : 16;
        return Size(size / 2 > 0 ? size / 2 : 1, size);
    }

    int m_width;
    int m_height;
    PaintState m_state;
    Rect m_deviceClip;
    Point m_position;
};

RecordingDev::RecordingDev(int width, int height)
    : m_recorder(new Recorder(width > 0 ? width : 1, height > 0 ? height : 1))
{
}

RecordingDev::~RecordingDev()
{
    m_surface = nullptr;
    m_useCount = 0;
}

bool RecordingDev::begin(PaintDevice*)
{
    if (m_useCount++ > 0)
        return true;
    ++m_opens;
    m_recorder->resetState();
    m_recorder->owner = nullptr;
    m_surface = m_recorder.get();
    takeClipBox();
    return true;
}

void RecordingDev::end()
{
    if (m_useCount <= 0)
        return;
    if (--m_useCount == 0)
        m_surface = nullptr;
}

const std::vector<PaintRecord>& RecordingDev::records() const { return m_recorder->records; }

std::vector<PaintRecord> RecordingDev::recordsOf(const std::string& op) const
{
    std::vector<PaintRecord> out;
    for (const PaintRecord& r : m_recorder->records)
        if (r.op == op)
            out.push_back(r);
    return out;
}

void RecordingDev::clearRecords() { m_recorder->records.clear(); }
