// Cost of the road from a native message to a handler: a mouse move through the common
// window procedure, procMessage and send to onMouseMove, beside a bare Win32 window
// procedure that handles the same message, both on real windows in the same run; posted
// (through the queue) and sent (the dispatch alone).
#include <vexapi/platform/win32/wvisualobject.h>

#include <benchmark/benchmark.h>

#include <windows.h>

namespace {

__attribute__((noinline)) void handleMove(int x, int y)
{
    benchmark::DoNotOptimize(x);
    benchmark::DoNotOptimize(y);
}

LRESULT CALLBACK bareProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_MOUSEMOVE) {
        handleMove(short(LOWORD(lParam)), short(HIWORD(lParam)));
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND bareWindow()
{
    static HWND window = [] {
        WNDCLASSW wc = {};
        wc.lpfnWndProc = bareProc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"VexapiBenchBare";
        RegisterClassW(&wc);
        return CreateWindowExW(0, L"VexapiBenchBare", L"", WS_OVERLAPPED, 0, 0, 200, 100,
                               nullptr, nullptr, wc.hInstance, nullptr);
    }();
    return window;
}

// The same bare procedure installed by subclassing, as the library installs its own: under
// Wine a subclassed procedure costs more to reach than a class procedure.
HWND subclassedWindow()
{
    static HWND window = [] {
        bareWindow();
        HWND w = CreateWindowExW(0, L"VexapiBenchBare", L"", WS_OVERLAPPED, 0, 0, 200, 100,
                                 nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        SetWindowLongPtrW(w, GWLP_WNDPROC, LONG_PTR(DefWindowProcW));
        SetWindowLongPtrW(w, GWLP_WNDPROC, LONG_PTR(bareProc));
        return w;
    }();
    return window;
}

class Target : public WVisualObject {
public:
    bool onMouseMove(int x, int y, VLong) override
    {
        handleMove(x, y);
        return true;
    }
};

Target& libraryWindow()
{
    static Target* target = [] {
        Target* t = new Target;
        t->move(0, 0, 200, 100);
        t->show(false);
        t->create();
        return t;
    }();
    return *target;
}

// One posted mouse move, taken from the queue and dispatched.
inline void postAndDispatch(HWND window, int i)
{
    PostMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(i & 0xFF, (i >> 8) & 0xFF));
    MSG msg;
    while (PeekMessageW(&msg, window, 0, 0, PM_REMOVE))
        DispatchMessageW(&msg);
}

void BM_BarePostedMove(benchmark::State& state)
{
    HWND window = bareWindow();
    int i = 0;
    for (auto _ : state)
        postAndDispatch(window, ++i);
}
BENCHMARK(BM_BarePostedMove);

void BM_LibraryPostedMove(benchmark::State& state)
{
    HWND window = HWND(libraryWindow().hwnd());
    int i = 0;
    for (auto _ : state)
        postAndDispatch(window, ++i);
    state.SetLabel("ratio-to:BM_BarePostedMove");
}
BENCHMARK(BM_LibraryPostedMove);

// The same through SendMessageW: no queue, so the dispatch itself is what is measured.
void BM_BareSentMove(benchmark::State& state)
{
    HWND window = bareWindow();
    int i = 0;
    for (auto _ : state)
        SendMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(++i & 0xFF, 3));
}
BENCHMARK(BM_BareSentMove);

void BM_BareSubclassedSentMove(benchmark::State& state)
{
    HWND window = subclassedWindow();
    int i = 0;
    for (auto _ : state)
        SendMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(++i & 0xFF, 3));
    state.SetLabel("ratio-to:BM_BareSentMove");
}
BENCHMARK(BM_BareSubclassedSentMove);

void BM_LibrarySentMove(benchmark::State& state)
{
    HWND window = HWND(libraryWindow().hwnd());
    int i = 0;
    for (auto _ : state)
        SendMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(++i & 0xFF, 3));
    state.SetLabel("ratio-to:BM_BareSentMove,BM_BareSubclassedSentMove");
}
BENCHMARK(BM_LibrarySentMove);

// With one subscriber listening to the handler as a signal (the grid's way of watching
// its frame's mouse).
class Watcher : public Object {
public:
    SlotResult onMove(Object*, int x, int y, VLong)
    {
        benchmark::DoNotOptimize(x + y);
        return SlotContinue;
    }
};

void BM_LibrarySentMoveWatched(benchmark::State& state)
{
    Target& target = libraryWindow();
    Watcher watcher;
    subscribe(static_cast<VisualObject*>(&target), &VisualObject::onMouseMove, &watcher,
              &Watcher::onMove);
    HWND window = HWND(target.hwnd());
    int i = 0;
    for (auto _ : state)
        SendMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(++i & 0xFF, 3));
    unsubscribe(static_cast<VisualObject*>(&target), &VisualObject::onMouseMove, &watcher,
                &Watcher::onMove);
    state.SetLabel("ratio-to:BM_BareSentMove");
}
BENCHMARK(BM_LibrarySentMoveWatched);

} // namespace

BENCHMARK_MAIN();
