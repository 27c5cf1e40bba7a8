// A grid-like paint of 10,000 cells (a fill, two border lines, a clipped text of 12
// characters) on a bitmap through Painter, next to the same GDI calls made directly.
#include <vexapi/toolkit/painter.h>

#include <benchmark/benchmark.h>

#include <windows.h>

#include <vector>

namespace {

const int kCells = 10000;
const int kColumns = 10, kCellWidth = 80, kCellHeight = 18;
const int kWidth = kColumns * kCellWidth, kHeight = 40 * kCellHeight;
const wchar_t kText[] = L"Cell 0123456"; // 12 characters, wider than fits: clipped

RECT cellRect(int i)
{
    int column = i % kColumns, row = (i / kColumns) % 40;
    RECT r{column * kCellWidth, row * kCellHeight, (column + 1) * kCellWidth,
           (row + 1) * kCellHeight};
    return r;
}

void BM_GdiCells(benchmark::State& state)
{
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = kWidth;
    info.bmiHeader.biHeight = -kHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HFONT font = CreateFontW(-12, 0, 0, 0, 400, 0, 0, 0, 204, 0, 0, 0, 0, L"Tahoma");
    HPEN pen = CreatePen(PS_SOLID, 1, RGB(192, 192, 192));
    HBRUSH brush = CreateSolidBrush(RGB(255, 255, 240));
    for (auto _ : state) {
        HDC dc = CreateCompatibleDC(nullptr);
        HGDIOBJ oldBitmap = SelectObject(dc, bitmap);
        SelectObject(dc, font);
        SelectObject(dc, pen);
        SelectObject(dc, brush);
        SetTextColor(dc, RGB(0, 0, 0));
        SetBkMode(dc, TRANSPARENT);
        for (int i = 0; i < kCells; ++i) {
            RECT r = cellRect(i);
            FillRect(dc, &r, brush);
            MoveToEx(dc, r.right - 1, r.top, nullptr);
            LineTo(dc, r.right - 1, r.bottom);
            MoveToEx(dc, r.left, r.bottom - 1, nullptr);
            LineTo(dc, r.right, r.bottom - 1);
            RECT text{r.left + 2, r.top, r.right - 2, r.bottom - 1};
            DrawTextW(dc, kText, 12, &text, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
        }
        SelectObject(dc, GetStockObject(BLACK_PEN));
        SelectObject(dc, oldBitmap);
        DeleteDC(dc);
    }
    DeleteObject(brush);
    DeleteObject(pen);
    DeleteObject(font);
    DeleteObject(bitmap);
    state.SetItemsProcessed(state.iterations() * kCells);
}
BENCHMARK(BM_GdiCells)->Unit(benchmark::kMillisecond);

void BM_PainterCells(benchmark::State& state)
{
    Bitmap bitmap(kWidth, kHeight);
    Font font(L"Tahoma", 12);
    Pen pen(Color(192, 192, 192));
    Brush brush(Color(255, 255, 240));
    Painter p;
    p.setFont(font);
    p.setPen(pen);
    p.setBrush(brush);
    p.setTextColor(Color(0, 0, 0));
    p.setBackgroundMode(BackgroundTransparent);
    for (auto _ : state) {
        p.begin(&bitmap);
        for (int i = 0; i < kCells; ++i) {
            RECT c = cellRect(i);
            Rect r(c.left, c.top, c.right, c.bottom);
            p.fillRect(r);
            p.drawLine(r.right - 1, r.top, r.right - 1, r.bottom);
            p.drawLine(r.left, r.bottom - 1, r.right, r.bottom - 1);
            p.drawText(Rect(r.left + 2, r.top, r.right - 2, r.bottom - 1),
                       TextSingleLine | TextVCenter, kText, 12);
        }
        p.end();
    }
    state.SetItemsProcessed(state.iterations() * kCells);
    state.SetLabel("ratio-to:BM_GdiCells");
}
BENCHMARK(BM_PainterCells)->Unit(benchmark::kMillisecond);

} // namespace

// Repetitions of the two run interleaved in random order, so that a machine that slows down
// or speeds up during the run weighs on both alike.
int main(int argc, char** argv)
{
    std::vector<char*> args(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    args.insert(args.begin() + 1, interleave);
    int count = int(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data()))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
