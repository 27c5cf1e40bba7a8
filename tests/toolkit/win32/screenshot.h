// Screenshots for the toolkit's Windows tests: a window's pixels as a PNG under
// build/screens, so that a reviewer can look at what a test drew.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace screens {

// The pixels of a window, rows top down, 0x00RRGGBB each.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    std::uint32_t at(int x, int y) const { return pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)]; }
};

// Reads the window's pixels, client area only when `clientOnly` (else the whole window with
// its frame). PrintWindow first; where it gives nothing (some Wine versions), the pixels
// are copied from the screen, so the window must be visible and on top. False on failure.
bool grabWindow(void* hwnd, Image* image, bool clientOnly = true);

// Writes the image as an 8-bit RGB PNG: `name` plus ".png" in build/screens (made when
// missing). Gives the full path written, or an empty string on failure.
std::string savePng(const Image& image, const std::string& name);

// Both at once.
std::string saveWindowPng(void* hwnd, const std::string& name, bool clientOnly = true);

} // namespace screens
