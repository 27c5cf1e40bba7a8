// Window screenshots into PNG files: PrintWindow or a screen BitBlt into a DIB section,
// written with libpng.
#include "screenshot.h"

#include <windows.h>

#include <png.h>

#include <cstdio>

#ifndef VEXAPI_SCREENS_DIR
#  define VEXAPI_SCREENS_DIR "screens"
#endif

namespace screens {
namespace {

bool allBlack(const Image& image)
{
    for (std::uint32_t p : image.pixels)
        if (p & 0xFFFFFF)
            return false;
    return true;
}

} // namespace

bool grabWindow(void* handle, Image* image, bool clientOnly)
{
    HWND window = HWND(handle);
    if (!window || !IsWindow(window) || !image)
        return false;
    RECT r;
    if (clientOnly)
        GetClientRect(window, &r);
    else {
        GetWindowRect(window, &r);
        OffsetRect(&r, -r.left, -r.top);
    }
    const int w = r.right - r.left, h = r.bottom - r.top;
    if (w <= 0 || h <= 0)
        return false;

    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = w;
    bi.bmiHeader.biHeight = -h; // top-down rows
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP dib = CreateDIBSection(screen, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!dib || !bits) {
        DeleteDC(memory);
        ReleaseDC(nullptr, screen);
        return false;
    }
    HGDIOBJ old = SelectObject(memory, dib);
    image->width = w;
    image->height = h;
    image->pixels.assign(std::size_t(w) * std::size_t(h), 0);

    const std::uint32_t* src = static_cast<const std::uint32_t*>(bits);
    // A visible window on top is read from the screen: that holds its children as drawn.
    // (Wine's PrintWindow leaves the child windows out.) Otherwise PrintWindow.
    POINT centre = {w / 2, h / 2};
    if (clientOnly)
        ClientToScreen(window, &centre);
    else {
        RECT wr;
        GetWindowRect(window, &wr);
        centre.x += wr.left;
        centre.y += wr.top;
    }
    HWND atCentre = WindowFromPoint(centre);
    bool onTop = IsWindowVisible(window) && atCentre
                 && (atCentre == window || IsChild(window, atCentre));
    BOOL printed = FALSE;
    if (!onTop) {
        printed = PrintWindow(window, memory, clientOnly ? 1 : 0); // 1: PW_CLIENTONLY
        GdiFlush();
        image->pixels.assign(src, src + std::size_t(w) * std::size_t(h));
    }
    if (onTop || !printed || allBlack(*image)) {
        // The window's pixels as the screen shows them.
        POINT origin = {0, 0};
        if (clientOnly)
            ClientToScreen(window, &origin);
        else {
            RECT wr;
            GetWindowRect(window, &wr);
            origin.x = wr.left;
            origin.y = wr.top;
        }
        BitBlt(memory, 0, 0, w, h, screen, origin.x, origin.y, SRCCOPY);
        GdiFlush();
        image->pixels.assign(src, src + std::size_t(w) * std::size_t(h));
    }
    for (std::uint32_t& p : image->pixels)
        p &= 0xFFFFFF;
    SelectObject(memory, old);
    DeleteObject(dib);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return true;
}

std::string savePng(const Image& image, const std::string& name)
{
    if (image.width <= 0 || image.height <= 0)
        return std::string();
    std::string dir = VEXAPI_SCREENS_DIR;
    CreateDirectoryA(dir.c_str(), nullptr); // may exist already
    std::string path = dir + "\\" + name + ".png";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return std::string();
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!png || !info) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return std::string();
    }
    std::vector<png_byte> row(std::size_t(image.width) * 3);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return std::string();
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, png_uint_32(image.width), png_uint_32(image.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            std::uint32_t p = image.at(x, y);
            row[std::size_t(x) * 3] = png_byte((p >> 16) & 0xFF);
            row[std::size_t(x) * 3 + 1] = png_byte((p >> 8) & 0xFF);
            row[std::size_t(x) * 3 + 2] = png_byte(p & 0xFF);
        }
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
    return path;
}

std::string saveWindowPng(void* hwnd, const std::string& name, bool clientOnly)
{
    Image image;
    if (!grabWindow(hwnd, &image, clientOnly))
        return std::string();
    return savePng(image, name);
}

} // namespace screens
